// What every family owes its user when it refuses: the family, the code, and a sentence.
#pragma once

#include <gtest/gtest.h>

#include "ozk/ozk.hpp"

template <class Call>
void expect_refused(ozk::Family family, int32_t code, Call&& call) {
    try {
        call();
        ADD_FAILURE() << "not refused";
    } catch (const ozk::error& error) {
        EXPECT_EQ(error.family(), family) << error.what();
        EXPECT_EQ(error.code(), code) << error.what();
        EXPECT_GT(std::string(error.what()).size(), 20u);
    }
}
