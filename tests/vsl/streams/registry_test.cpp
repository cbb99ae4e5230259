#include <dlfcn.h>
#include <gtest/gtest.h>

#include <fstream>
#include <sstream>
#include <string>
#include <tuple>

#include "ozk_vsl.h"

namespace {

int32_t init(uint32_t, OzkVslStream*, int32_t, const void*) { return 0; }
int32_t single_generator(OzkVslStream*, int32_t, float*, float, float) { return 0; }
int32_t double_generator(OzkVslStream*, int32_t, double*, double, double) { return 0; }
int32_t integer_generator(OzkVslStream*, int32_t, void*) { return 0; }

constexpr OzkVslBrngProperties kValidRow = {
    64, 1, 0, 4, 32, init, single_generator, double_generator, integer_generator};

auto fields(const OzkVslBrngProperties& row) {
    return std::tuple(row.state_size, row.seed_count, row.includes_zero, row.word_size, row.bits, row.init,
                      row.single_generator, row.double_generator, row.integer_generator);
}

bool valid(uint32_t identifier) {
    OzkVslBrngProperties row;
    return __vslGetBrngProperties(identifier, &row) == kOzkVslSuccess;
}

int32_t status_of_creating(uint32_t identifier, OzkVslStream** stream) {
    const uint32_t seed = 1;
    return __vslNewStreamEx(stream, identifier, 1, &seed);
}

TEST(Registry, MapsIdentifiersToTableRowAndSet) {
    struct Case {
        uint32_t identifier;
        const char* table;
        int32_t row, set;
    };
    const Case cases[] = {
        {0x100000, "__RegBrngsNew", 0, 0},
        {0x400000, "__RegBrngsNew", 3, 0},
        {0x500000 + 272, "__RegBrngsNew", 4, 272},
        {0x900000 + 6023, "__RegBrngsNew", 8, 6023},
        {0x1000000, "__RegBrngsNew", 15, 0},
        {0xFFFFFFFF, "__RegBrngsNew", 4094, 0xFFFFF},
        {0, "__RegBrngs", 0, 0},
        {3, "__RegBrngs", 3, 0},
        {4, "__RegBrngs", 4, 0},
        {276, "__RegBrngs", 4, 272},
        {277, "__RegBrngs", 277, 0},
        {0xFFFFF, "__RegBrngs", 0xFFFFF, 0},
    };
    for (const Case& c : cases) {
        int32_t row = -1, set = -1;
        EXPECT_EQ(__vslGetBrngBaseOffset(c.identifier, &row, &set), dlsym(RTLD_DEFAULT, c.table))
            << c.identifier;
        EXPECT_EQ(row, c.row) << c.identifier;
        EXPECT_EQ(set, c.set) << c.identifier;
    }
}

TEST(Registry, KnowsWhichIdentifiersAreValid) {
    for (uint32_t identifier : {0u, 3u, 4u, 276u, 277u, 278u, 279u, 280u})
        EXPECT_TRUE(valid(identifier)) << identifier;
    for (uint32_t identifier : {281u, 511u, 512u, 0xFFFFFu}) EXPECT_FALSE(valid(identifier)) << identifier;
    for (uint32_t row = 0; row < 16; ++row) {
        const uint32_t sets = row == 4 ? 273 : row == 8 ? 6024 : 1;
        const uint32_t first = (row + 1) << 20;
        EXPECT_TRUE(valid(first)) << row;
        EXPECT_TRUE(valid(first + sets - 1)) << row;
        EXPECT_FALSE(valid(first + sets)) << row;
    }
    EXPECT_FALSE(valid(0xFFFFFFFF));
}

TEST(Registry, InvalidIdentifierLeavesTheRowOfTheCallerAlone) {
    OzkVslBrngProperties row = kValidRow;
    EXPECT_EQ(__vslGetBrngProperties(281, &row), kOzkVslErrorInvalidGenerator);
    EXPECT_EQ(fields(row), fields(kValidRow));
}

TEST(Registry, OlderNumbersNameTheSameGenerators) {
    const std::pair<uint32_t, uint32_t> same[] = {
        {0, kOzkVslMcg31m1}, {1, kOzkVslR250},       {2, kOzkVslMrg32k3a}, {3, kOzkVslMcg59},
        {4, kOzkVslWh},      {276, kOzkVslWh + 272}, {277, kOzkVslSobol},  {278, kOzkVslNiederreiter}};
    for (const auto& [older, current] : same) {
        OzkVslBrngProperties a, b;
        ASSERT_EQ(__vslGetBrngProperties(older, &a), kOzkVslSuccess);
        ASSERT_EQ(__vslGetBrngProperties(current, &b), kOzkVslSuccess);
        EXPECT_EQ(fields(a), fields(b)) << older;
    }
}

TEST(Registry, RowWithoutFunctionsCreatesNoStream) {
    OzkVslStream* const untouched = reinterpret_cast<OzkVslStream*>(16);
    OzkVslStream* stream = untouched;
    for (uint32_t row = 1; row <= 16; ++row) {
        OzkVslBrngProperties properties;
        ASSERT_EQ(__vslGetBrngProperties(row << 20, &properties), kOzkVslSuccess);
        if (properties.init) continue;
        EXPECT_EQ(status_of_creating(row << 20, &stream), kOzkVslErrorInvalidGenerator) << row;
    }
    EXPECT_EQ(status_of_creating(279, &stream), kOzkVslErrorInvalidGenerator);
    EXPECT_EQ(status_of_creating(280, &stream), kOzkVslErrorInvalidGenerator);
    EXPECT_EQ(stream, untouched);
}

TEST(Registry, RegistrationChecksTheRowInOrder) {
    OzkVslBrngProperties row = {
        -1, 0, 0, 5, 0, nullptr, single_generator, double_generator, integer_generator};
    EXPECT_EQ(__vslRegisterBrng(&row), kOzkVslErrorBadStateSize);
    row.state_size = 0;
    EXPECT_EQ(__vslRegisterBrng(&row), kOzkVslErrorBadWordSize);
    row.word_size = 16;
    EXPECT_EQ(__vslRegisterBrng(&row), kOzkVslErrorBadSeedCount);
    row.seed_count = 1;
    EXPECT_EQ(__vslRegisterBrng(&row), kOzkVslErrorBadBitCount);
    row.bits = 1;
    EXPECT_EQ(__vslRegisterBrng(&row), kOzkVslErrorNullFunction);
    for (int missing = 0; missing < 4; ++missing) {
        OzkVslBrngProperties incomplete = kValidRow;
        if (missing == 0) incomplete.init = nullptr;
        if (missing == 1) incomplete.single_generator = nullptr;
        if (missing == 2) incomplete.double_generator = nullptr;
        if (missing == 3) incomplete.integer_generator = nullptr;
        EXPECT_EQ(__vslRegisterBrng(&incomplete), kOzkVslErrorNullFunction) << missing;
    }
}

// Fills the registry of this process; the status is the number of the first step that fails.
[[noreturn]] void fill_the_registry() {
    int step = 1;
    const auto require = [&step](bool holds) {
        if (!holds) std::_Exit(step);
        ++step;
    };
    require(__vslGetNumRegBrngs() == 16);
    require(__vslRegisterBrng(&kValidRow) == kOzkVslFirstRegistered);
    require(__vslGetNumRegBrngs() == 17);
    require(valid(kOzkVslFirstRegistered) && !valid(kOzkVslFirstRegistered + 1));
    OzkVslStream* stream;
    require(status_of_creating(kOzkVslFirstRegistered, &stream) == kOzkVslSuccess);
    require(__vslGetStreamStateBrng(stream) == kOzkVslFirstRegistered);
    int32_t identifier = 0;
    for (int row = 17; row < kOzkVslRegistryRows; ++row) identifier = __vslRegisterBrng(&kValidRow);
    require(identifier == kOzkVslRegistryRows << 20);
    require(__vslRegisterBrng(&kValidRow) == kOzkVslErrorRegistryFull);
    require(__vslGetNumRegBrngs() == kOzkVslRegistryRows);
    require(valid(kOzkVslRegistryRows << 20));
    std::_Exit(0);
}

TEST(RegistryDeathTest, RegistrationStartsAfterTheBuiltInRowsAndStopsWhenTheTableIsFull) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");  // in a process of its own
    EXPECT_EXIT(fill_the_registry(), testing::ExitedWithCode(0), "");
}

TEST(Processor, ChecksAgreeWithTheKernel) {
    std::ifstream information("/proc/cpuinfo");
    std::string line, flag;
    int random = 0, aes = 0;
    while (std::getline(information, line) && line.rfind("flags", 0) != 0) {
    }
    for (std::istringstream flags(line); flags >> flag;) {
        random |= flag == "rdrand";
        aes |= flag == "aes";
    }
    EXPECT_EQ(__vslCPUisRDRAND(), random);
    EXPECT_EQ(__vslCPUisAES(), aes);
}

}  // namespace
