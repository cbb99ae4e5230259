// The tool that writes random numbers, run as a program.

#include <gtest/gtest.h>

#include <cstdio>
#include <string>
#include <vector>

#include "ozk/random.hpp"

namespace {

struct Outcome {
    std::string output;
    int status;
};

Outcome run(const std::string& arguments) {
    std::FILE* const pipe = popen((OZK_BINARY_DIR "/bin/ozk-random " + arguments).c_str(), "r");
    std::string output;
    char block[4096];
    for (size_t n; (n = std::fread(block, 1, sizeof block, pipe)) > 0;) output.append(block, n);
    return {output, pclose(pipe)};
}

TEST(OzkRandom, WritesTheWordsOfTheStreamWhateverTheirNumber) {
    for (const size_t count : {size_t{1}, size_t{65536}, size_t{70000}}) {
        ozk::stream stream("WH:17", std::vector<uint32_t>{5, 6, 7});
        std::vector<uint32_t> expected(count);
        stream.bits(expected);
        const Outcome outcome = run("--raw WH:17 --seed 5 6 7 --count " + std::to_string(count));
        ASSERT_EQ(outcome.status, 0);
        EXPECT_EQ(outcome.output, std::string(reinterpret_cast<char*>(expected.data()), 4 * count));
    }
}

TEST(OzkRandom, WritesNumbersThatReadBackAsTheyWere) {
    ozk::stream stream("MRG32K3A");
    std::vector<double> expected(100), read(100);
    stream.uniform(expected);
    const std::string text = run("MRG32K3A --count 100").output;
    const char* at = text.c_str();
    for (double& x : read) {
        char* end = nullptr;
        x = std::strtod(at, &end);
        at = end;
    }
    EXPECT_EQ(read, expected);
    EXPECT_STREQ(at, "\n");
}

TEST(OzkRandom, EndsWithItsReaderAndRefusesUnknownNames) {
    EXPECT_EQ(run("--raw MCG59 | head -c 100000").output.size(), 100000u);
    const Outcome refused = run("--raw NOSUCH 2>&1");
    EXPECT_NE(refused.status, 0);
    EXPECT_NE(refused.output.find("no generator named NOSUCH"), std::string::npos) << refused.output;
}

}  // namespace
