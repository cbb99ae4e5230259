// A stream that deletes itself.
#pragma once

#include <gtest/gtest.h>

#include <utility>
#include <vector>

#include "ozk_vsl.h"

class Stream {
  public:
    Stream(uint32_t identifier, const std::vector<uint32_t>& seed) {
        EXPECT_EQ(__vslNewStreamEx(&stream_, identifier, static_cast<int32_t>(seed.size()), seed.data()),
                  kOzkVslSuccess);
    }
    Stream(Stream&& other) noexcept : stream_(std::exchange(other.stream_, nullptr)) {}
    ~Stream() {
        if (stream_) __vslDeleteStream(&stream_);
    }
    operator OzkVslStream*() const { return stream_; }
    const void* state() const { return stream_ + 1; }

  private:
    OzkVslStream* stream_ = nullptr;
};
