// The tables of basic generators, the identifiers that lead to their rows, and registration of further
// generators.

#include "vsl/streams/registry.hpp"

#include <iterator>

namespace ozk::vsl {
namespace {

struct Generator {
    OzkVslBrngProperties properties;
    int32_t sets;
};

// A generator is its source file and its row here.
#define OZK_FUNCTIONS(Name) __vslBRng##Name##InitStream, __vslsBRng##Name, __vsldBRng##Name, __vsliBRng##Name

constexpr Generator kGenerators[] = {
    // state size, seed count, includes zero, word size, bits, functions; parameter sets
    {{24, 1, 0, 4, 31, OZK_FUNCTIONS(MCG31M1)}, 1},
    {{1024, 252, 1, 4, 32, OZK_FUNCTIONS(R250)}, 1},
    {{40, 6, 1, 4, 32, OZK_FUNCTIONS(MRG32K3A)}, 1},
    {{32, 1, 0, 8, 59, OZK_FUNCTIONS(MCG59)}, 1},
    {{48, 4, 1, 16, 24, OZK_FUNCTIONS(WH)}, kOzkVslWhSets},
    {{11712, 2900, 0, 4, 32, OZK_FUNCTIONS(Sobol)}, 1},
    {{84288, 21056, 0, 4, 32, OZK_FUNCTIONS(Niederr)}, 1},
    {{2520, 625, 1, 4, 32, OZK_FUNCTIONS(MT19937)}, 1},
    {{312, 70, 1, 4, 32, OZK_FUNCTIONS(MT2203)}, kOzkVslMt2203Sets},
    {{48, 0, 1, 4, 32, OZK_FUNCTIONS(iAbstract)}, 1},
    {{64, 0, 1, 4, 32, OZK_FUNCTIONS(dAbstract)}, 1},
    {{56, 0, 1, 4, 32, OZK_FUNCTIONS(sAbstract)}, 1},
    {{2536, 625, 1, 4, 32, OZK_FUNCTIONS(SFMT19937)}, 1},
    {{24, 1, 1, 4, 32, OZK_FUNCTIONS(TRNG)}, 1},
    {{72, 13, 1, 4, 32, OZK_FUNCTIONS(ARS5)}, 1},
    {{64, 11, 1, 4, 32, OZK_FUNCTIONS(PHILOX4X32X10)}, 1},
};
#undef OZK_FUNCTIONS

constexpr int32_t kBuiltIn = static_cast<int32_t>(std::size(kGenerators));
constexpr int32_t kWhRow = 4, kSobolRow = 5, kNiederreiterRow = 6;

constexpr int kRowShift = 20;
constexpr uint32_t kFirstIdentifier = 1u << kRowShift;
constexpr uint32_t kSetMask = kFirstIdentifier - 1;

constexpr uint32_t kLegacyFirstWh = 4, kLegacyLastWh = 276;
constexpr int32_t kLegacyRows = 281;  // valid rows; the last two are zero

constexpr OzkVslBrngTable current_table() {
    OzkVslBrngTable table = {};
    for (int32_t row = 0; row < kBuiltIn; ++row) table.rows[row] = kGenerators[row].properties;
    return table;
}

constexpr OzkVslBrngTable legacy_table() {
    OzkVslBrngTable table = {};
    for (int32_t row = 0; row < kWhRow; ++row) table.rows[row] = kGenerators[row].properties;
    for (uint32_t row = kLegacyFirstWh; row <= kLegacyLastWh; ++row) {
        table.rows[row] = kGenerators[kWhRow].properties;
    }
    table.rows[kLegacyLastWh + 1] = kGenerators[kSobolRow].properties;
    table.rows[kLegacyLastWh + 2] = kGenerators[kNiederreiterRow].properties;
    return table;
}

struct SetCounts {
    int32_t rows[kOzkVslRegistryRows];
};

constexpr SetCounts set_counts() {
    SetCounts counts = {};
    for (int32_t row = 0; row < kBuiltIn; ++row) counts.rows[row] = kGenerators[row].sets;
    return counts;
}

constinit SetCounts sets_of_row = set_counts();
constinit int32_t filled_rows = kBuiltIn;

static_assert(sizeof(OzkVslBrngProperties) == 56 && offsetof(OzkVslBrngProperties, state_size) == 0 &&
              offsetof(OzkVslBrngProperties, seed_count) == 4 &&
              offsetof(OzkVslBrngProperties, includes_zero) == 8 &&
              offsetof(OzkVslBrngProperties, word_size) == 12 && offsetof(OzkVslBrngProperties, bits) == 16 &&
              offsetof(OzkVslBrngProperties, init) == 24 &&
              offsetof(OzkVslBrngProperties, single_generator) == 32 &&
              offsetof(OzkVslBrngProperties, double_generator) == 40 &&
              offsetof(OzkVslBrngProperties, integer_generator) == 48);
static_assert(kBuiltIn == 16);

}  // namespace
}  // namespace ozk::vsl

constexpr OzkVslBrngTable __RegBrngs = ozk::vsl::legacy_table();
constinit OzkVslBrngTable __RegBrngsNew = ozk::vsl::current_table();

namespace ozk::vsl {

Location locate(uint32_t identifier) {
    if (identifier >= kFirstIdentifier) {
        return {&__RegBrngsNew, static_cast<int32_t>(identifier >> kRowShift) - 1,
                static_cast<int32_t>(identifier & kSetMask)};
    }
    if (kLegacyFirstWh <= identifier && identifier <= kLegacyLastWh) {
        return {&__RegBrngs, kWhRow, static_cast<int32_t>(identifier - kLegacyFirstWh)};
    }
    return {&__RegBrngs, static_cast<int32_t>(identifier), 0};
}

}  // namespace ozk::vsl

extern "C" {

const OzkVslBrngTable* __vslGetBrngBaseOffset(uint32_t identifier, int32_t* row, int32_t* set) {
    const ozk::vsl::Location location = ozk::vsl::locate(identifier);
    *row = location.row;
    *set = location.set;
    return location.table;
}

int32_t __vslIsBrngValid(const OzkVslBrngTable* table, int32_t row, int32_t set) {
    using namespace ozk::vsl;
    const bool valid = table == &__RegBrngs
                           ? 0 <= row && row < kLegacyRows
                           : 0 <= row && row < filled_rows && 0 <= set && set < sets_of_row.rows[row];
    return valid ? kOzkVslSuccess : kOzkVslErrorInvalidGenerator;
}

int32_t __vslGetBrngProperties(uint32_t identifier, OzkVslBrngProperties* row) {
    const ozk::vsl::Location location = ozk::vsl::locate(identifier);
    const int32_t status = __vslIsBrngValid(location.table, location.row, location.set);
    if (status == kOzkVslSuccess) *row = location.table->rows[location.row];
    return status;
}

int32_t __vslRegisterBrng(const OzkVslBrngProperties* row) {
    using namespace ozk::vsl;
    if (row->state_size < 0) return kOzkVslErrorBadStateSize;
    if (row->word_size != 4 && row->word_size != 8 && row->word_size != 16) return kOzkVslErrorBadWordSize;
    if (row->seed_count < 1) return kOzkVslErrorBadSeedCount;
    if (row->bits < 1) return kOzkVslErrorBadBitCount;
    if (!row->init || !row->single_generator || !row->double_generator || !row->integer_generator) {
        return kOzkVslErrorNullFunction;
    }
    if (filled_rows == kOzkVslRegistryRows) return kOzkVslErrorRegistryFull;
    const int32_t index = filled_rows;
    __RegBrngsNew.rows[index] = *row;
    sets_of_row.rows[index] = 1;
    ++filled_rows;
    return static_cast<int32_t>((static_cast<uint32_t>(index) << kRowShift) + kFirstIdentifier);
}

int32_t __vslGetNumRegBrngs(void) { return ozk::vsl::filled_rows; }

}  // extern "C"
