// A generator's state within its stream record.
#pragma once

#include "ozk_vsl.h"

namespace ozk::vsl {

template <class State>
State& state_of(OzkVslStream* stream) {
    return *reinterpret_cast<State*>(stream + 1);
}

}  // namespace ozk::vsl
