#include <gtest/gtest.h>

#include <cerrno>
#include <climits>
#include <cmath>
#include <cstdlib>
#include <limits>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include "ozk_core.h"

namespace {

template <class... Arguments>
std::string printed(int channel, int message, int argc, Arguments... arguments) {
    testing::internal::CaptureStderr();
    ozk_serv_print(channel, message, argc, arguments...);
    return testing::internal::GetCapturedStderr();
}

TEST(Messages, HeadlinesCarryTheFunctionNameAndDiffer) {
    std::vector<std::string> texts = {printed(1, 748, 2, "vdExp", 1234)};
    EXPECT_NE(texts[0].find("1234"), std::string::npos);
    for (int message = 749; message <= 754; ++message) texts.push_back(printed(1, message, 1, "vdExp"));
    for (size_t i = 0; i < texts.size(); ++i) {
        EXPECT_NE(texts[i].find("vdExp"), std::string::npos) << texts[i];
        EXPECT_EQ(texts[i].find('\n'), texts[i].size() - 1) << "one line: " << texts[i];
        for (size_t j = 0; j < i; ++j) EXPECT_NE(texts[i], texts[j]);
    }
}

TEST(Messages, ValueLinesReadBackAsTheSameIndexAndDouble) {
    const double values[] = {0.1,
                             -1.0 / 3,
                             5e-324,
                             -std::numeric_limits<double>::max(),
                             1e22,
                             -0.0,
                             static_cast<double>(0.1f),
                             HUGE_VAL,
                             std::nan("")};
    for (int message = 755; message <= 766; ++message) {
        for (const double value : values) {
            for (const int index : {0, INT_MAX, INT_MIN}) {
                const std::string text = printed(1, message, 2, index, value);
                ASSERT_EQ(text.find('\n'), text.size() - 1) << "one line: " << text;
                const size_t index_at = text.find("index "), value_at = text.rfind(' ');
                ASSERT_LT(index_at, value_at) << text;
                EXPECT_EQ(std::stol(text.substr(index_at + 6)), index) << text;
                const double read = std::strtod(text.c_str() + value_at, nullptr);
                EXPECT_TRUE(std::isnan(value) ? std::isnan(read) : read == value) << text;
                EXPECT_EQ(std::signbit(read), std::signbit(value)) << text;
            }
        }
    }
}

TEST(Messages, UnknownNumbersChannelsAndCountsPrintNothing) {
    for (const int message : {747, 767, 0, -1, INT_MAX, INT_MIN}) {
        EXPECT_EQ(printed(1, message, 1, "vdExp"), "") << message;
    }
    EXPECT_EQ(printed(0, 750, 1, "vdExp"), "");
    EXPECT_EQ(printed(2, 750, 1, "vdExp"), "");
    EXPECT_EQ(printed(1, 750, 0), "");
    EXPECT_EQ(printed(1, 748, 1, "vdExp"), "");
    EXPECT_EQ(printed(1, 755, 1, 3), "");
    EXPECT_EQ(printed(1, 755, -1), "");
}

TEST(Messages, LongAndMissingNamesStayOnOneLine) {
    const std::string text = printed(1, 748, 2, std::string(10000, 'x').c_str(), INT_MIN);
    EXPECT_LT(text.size(), 160u);
    EXPECT_EQ(text.find('\n'), text.size() - 1);
    EXPECT_NE(text.find(std::to_string(INT_MIN)), std::string::npos);
    EXPECT_NE(printed(1, 750, 1, static_cast<const char*>(nullptr)), "");
}

TEST(Messages, KeepErrno) {
    testing::internal::CaptureStderr();
    errno = EDOM;
    ozk_serv_print(1, 750, 1, "vdLn");
    EXPECT_EQ(errno, EDOM);
    testing::internal::GetCapturedStderr();
}

TEST(Messages, OfSeveralThreadsDoNotMix) {
    testing::internal::CaptureStderr();
    std::vector<std::thread> threads;
    for (int t = 0; t < 4; ++t) {
        threads.emplace_back([t] {
            const std::string name(32, static_cast<char>('a' + t));
            for (int i = 0; i < 200; ++i) ozk_serv_print(1, 750, 1, name.c_str());
        });
    }
    for (std::thread& thread : threads) thread.join();
    const std::string text = testing::internal::GetCapturedStderr();
    std::istringstream stream(text);
    int lines = 0;
    for (std::string line; std::getline(stream, line); ++lines) {
        const size_t name = line.find(": ") == std::string::npos ? 0 : line.find(": ") + 2;
        EXPECT_EQ(line.substr(name, 33), std::string(32, line[name]) + ':') << line;
    }
    EXPECT_EQ(lines, 800);
}

}  // namespace
