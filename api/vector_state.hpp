// The vector math state of a thread, as the application interface sets it, and the functions of the kernel
// library that hold it.
#pragma once

#include "api/kernel.hpp"
#include "ozk_vml.h"

namespace ozk::api {

struct VectorControl {
    decltype(ozk_vml_kernel_GetMode)* get_mode;
    decltype(ozk_vml_kernel_SetMode)* set_mode;
    decltype(ozk_vml_kernel_GetErrStatus)* get_status;
    decltype(ozk_vml_kernel_SetErrStatus)* set_status;
    decltype(ozk_vml_kernel_GetErrorCallBack)* get_callback;
    decltype(ozk_vml_kernel_SetErrorCallBack)* set_callback;
    decltype(ozk_vml_kernel_SetInterfInputVectorPointer)* set_base;
    decltype(ozk_vml_kernel_zErrorI)* report;
};

// Looked up once; throws a Failure while there are no kernels.
const VectorControl& vector_control();

// A mode word for SetMode, which leaves fields of zero as they are: a denormal field of zero becomes the
// equivalent kVmlDenormalKeep.
uint32_t restorable(uint64_t mode);

struct SpecialHandler {
    ozk_special_handler function;
    void* context;
};
// The calling thread's handler.
const SpecialHandler& special_handler();

}  // namespace ozk::api
