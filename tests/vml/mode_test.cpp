#include <gtest/gtest.h>

#include <cstdlib>
#include <string>
#include <thread>

#include "ozk_vml.h"

namespace {

// Runs f on a thread of its own, whose vector math state is fresh, with OZK_VML_MODE as given (null: unset).
template <class F>
void on_fresh_thread(const char* environment, F f) {
    if (environment == nullptr) {
        unsetenv("OZK_VML_MODE");
    } else {
        setenv("OZK_VML_MODE", environment, 1);
    }
    std::thread(f).join();
    unsetenv("OZK_VML_MODE");
}

uint64_t first_mode(const char* environment) {
    uint64_t mode = 0;
    on_fresh_thread(environment, [&] { mode = _vmlGetMode(); });
    return mode;
}

TEST(Mode, ComesFromTheEnvironmentOnFirstUse) {
    EXPECT_EQ(first_mode(nullptr), 0x1A02u);
    EXPECT_EQ(first_mode(""), 0x1A02u);
    EXPECT_EQ(first_mode("VML_EP"), 0x1A03u);
    EXPECT_EQ(first_mode("VML_LA,VML_HA"), 0x1A03u);
    EXPECT_EQ(first_mode("VML_DEFAULT_PRECISION"), 0x1A02u);
    EXPECT_EQ(first_mode("VML_ERRMODE_STDERR"), 0x402u);
    EXPECT_EQ(first_mode("VML_RESTORE"), 0x1A32u);
    EXPECT_EQ(first_mode("VML_FLOAT_CONSISTENT,VML_LA"), 0x1A11u);
    EXPECT_EQ(first_mode("VML_DOUBLE_CONSISTEN"), 0x1A22u);
    EXPECT_EQ(first_mode("VML_ERRMODE_IGNORE,VML_ERRMODE_NOERR,VML_TRAP_INVALID,VML_TRAP_UNDERFLOW"),
              0x9002102u);
    EXPECT_EQ(first_mode("VML_ERRMODE_ERRNO,VML_ERRMODE_EXCEPT,VML_ERRMODE_CALLBACK,VML_TRAP_DIVBYZERO,"
                         "VML_TRAP_OVERFLOW"),
              0x6001A02u);
}

TEST(Mode, IgnoresAMalformedVariableAsAWhole) {
    for (const char* text :
         {"VML_EP,", "vml_ep", "VML_EP, VML_LA", " VML_EP", "VML_DOUBLE_CONSISTENT", "VML_", "VML", "VML_EPX",
          "VML_EP;VML_LA", "VML_EP,,VML_LA", ",VML_EP", "VML_EP,VML_NOSUCH", "EP"}) {
        EXPECT_EQ(first_mode(text), 0x1A02u) << text;
    }
    // Cut at 255 characters, within a token.
    std::string text = "VML_EP";
    while (text.size() <= 300) text += ",VML_EP";
    EXPECT_EQ(first_mode(text.c_str()), 0x1A02u);
}

TEST(Mode, ReadsTheEnvironmentOnceAThread) {
    on_fresh_thread("VML_LA", [] {
        EXPECT_EQ(_vmlSetMode(0), 0x1A01u);
        setenv("OZK_VML_MODE", "VML_EP", 1);
        EXPECT_EQ(_vmlGetMode(), 0x1A01u);
        EXPECT_EQ(ozk_vml_kernel_ReadEnvVarMode(), 3);
    });
    EXPECT_EQ(ozk_vml_kernel_ReadEnvVarMode(), -1);
}

TEST(Mode, SetReplacesWholeFieldsAndKeepsTheRest) {
    on_fresh_thread("VML_RESTORE", [] {
        EXPECT_EQ(_vmlSetMode(0), 0x1A32u);
        EXPECT_EQ(_vmlSetMode(0x10), 0x1A32u) << "consistency is the environment's alone";
        EXPECT_EQ(_vmlSetMode(0x400), 0x1A32u);
        EXPECT_EQ(_vmlSetMode(kVmlEp), 0x432u);
        EXPECT_EQ(_vmlSetMode(kVmlDenormalFlush | 0x20000), 0x433u);
        EXPECT_EQ(_vmlSetMode(kVmlTrapOverflow), 0x2A0433u);
        EXPECT_EQ(_vmlSetMode(0xF00000F0u), 0x42A0433u) << "bits outside the fields";
        EXPECT_EQ(ozk_vml_kernel_SetMode(kVmlLa | kVmlErrorDefault), 0x42A0433u);
        EXPECT_EQ(ozk_vml_kernel_GetMode(), 0x42A1A31u);
    });
}

TEST(Mode, ChoosesTheKernelTableSlot) {
    on_fresh_thread("VML_EP",
                    [] { EXPECT_EQ(ozk_vml_kernel_GetTTableIndex(), 2) << "initialises the mode first"; });
    on_fresh_thread(nullptr, [] { EXPECT_EQ(ozk_vml_kernel_GetTTableIndex(), 1); });
    EXPECT_EQ(ozk_vml_kernel_GetTTableIndexM(12345, 0x1A03), 2);
    EXPECT_EQ(ozk_vml_kernel_GetTTableIndexM(-1, 0xFFF1), 0);
}

TEST(Status, IsKeptUntilSetOrCleared) {
    on_fresh_thread(nullptr, [] {
        EXPECT_EQ(_vmlGetErrStatus(), 0);
        EXPECT_EQ(_vmlSetErrStatus(-7), 0);
        EXPECT_EQ(ozk_vml_kernel_GetErrStatus(), -7);
        EXPECT_EQ(ozk_vml_kernel_ClearErrStatus(), -7);
        EXPECT_EQ(_vmlClearErrStatus(), 0);
    });
}

int first_callback(VmlErrorRecord*) { return 0; }
int second_callback(VmlErrorRecord*) { return 1; }

TEST(Callback, KeepsTheModesBitInStepExceptWhereTheFieldWouldBecomeEmpty) {
    on_fresh_thread("VML_ERRMODE_ERRNO", [] {
        EXPECT_EQ(_vmlSetErrorCallBack(first_callback), nullptr);
        EXPECT_EQ(_vmlGetMode(), 0x1202u);
        EXPECT_EQ(ozk_vml_kernel_SetErrorCallBack(second_callback), first_callback);
        EXPECT_EQ(_vmlGetErrorCallBack(), second_callback);
        EXPECT_EQ(_vmlClearErrorCallBack(), second_callback);
        EXPECT_EQ(ozk_vml_kernel_GetErrorCallBack(), nullptr);
        EXPECT_EQ(_vmlGetMode(), 0x202u);

        _vmlSetMode(kVmlErrorCallback);
        _vmlSetErrorCallBack(first_callback);
        EXPECT_EQ(ozk_vml_kernel_ClearErrorCallBack(), first_callback);
        EXPECT_EQ(_vmlGetErrorCallBack(), nullptr);
        EXPECT_EQ(_vmlGetMode(), 0x1002u);
    });
}

TEST(State, BelongsToOneThread) {
    on_fresh_thread(nullptr, [] {
        int element = 0;
        _vmlSetMode(kVmlLa);
        _vmlSetErrStatus(5);
        _vmlSetErrorCallBack(first_callback);
        EXPECT_EQ(_vmlSetInterfInputVectorPointer(&element), &element);
        on_fresh_thread(nullptr, [] {
            EXPECT_EQ(_vmlGetMode(), 0x1A02u);
            EXPECT_EQ(_vmlGetErrStatus(), 0);
            EXPECT_EQ(_vmlGetErrorCallBack(), nullptr);
        });
        EXPECT_EQ(_vmlGetErrStatus(), 5);
    });
}

}  // namespace
