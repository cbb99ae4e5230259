// Mutated images through both loaders: whatever is loaded can be drawn from, copied and saved, and nothing
// leaks. A short run by default; OZK_FUZZ_ROUNDS and OZK_FUZZ_SEED make it as long and as different as wanted.

#include <cstdlib>
#include <random>

#include "tests/vsl/allocator.hpp"
#include "tests/vsl/streams/image.hpp"

namespace {

using namespace image;
using Random = std::mt19937;

uint32_t below(Random& random, size_t bound) {
    return std::uniform_int_distribution<uint32_t>(0, static_cast<uint32_t>(bound) - 1)(random);
}

uint64_t setting(const char* name, uint64_t otherwise) {
    const char* const text = std::getenv(name);
    return text ? std::strtoull(text, nullptr, 0) : otherwise;
}

std::vector<Bytes> seeds() {
    std::vector<Bytes> images;
    for (const uint32_t identifier :
         {uint32_t{kOzkVslMcg31m1}, uint32_t{kOzkVslR250}, uint32_t{kOzkVslMrg32k3a}, uint32_t{kOzkVslMcg59},
          kOzkVslWh + 272u, uint32_t{kOzkVslSobol}, uint32_t{kOzkVslNiederreiter}, uint32_t{kOzkVslMt19937},
          kOzkVslMt2203 + 6023u, uint32_t{kOzkVslSfmt19937}, uint32_t{kOzkVslNondeterministic},
          uint32_t{kOzkVslArs5}, uint32_t{kOzkVslPhilox4x32x10}}) {
        const drawing::Stream stream = drawing::make(identifier, {3});
        double numbers[7];
        _vsldRngUniform(0, stream.get(), 7, numbers, 0,
                        1);  // refused where the processor lacks an instruction
        images.push_back(saved(stream));
        const uint64_t key[2] = {identifier, 1};
        attach(stream, kOzkVslGaussianChunk, std::string(24, 'g'));
        attach(stream, 5, "shared", key);
        images.push_back(saved(stream));
        const Bytes current = images.back();
        if (current.size() > 0xFFFF) continue;
        // The same with the older header, version 1 and signature first.
        for (const char* first : {"\1RNG", "RNG\1"}) {
            images.push_back(first + Bytes(2, '\0') + current.substr(8, 2) + current.substr(12, 2) +
                             Bytes(2, '\0') + current.substr(16));
        }
    }
    return images;
}

// Numbers that programs get wrong.
uint32_t awkward(Random& random) {
    constexpr uint32_t kNumbers[] = {0,       1,          2,          3,          4,         5,      69,
                                     250,     623,        624,        625,        0x7FFF,    0x8000, 0xFFFF,
                                     0x10000, 0x7FFFFFFF, 0x80000000, 0xFFFFFFF0, 0xFFFFFFFF};
    return kNumbers[below(random, std::size(kNumbers))];
}

void mutate(Bytes& bytes, Random& random) {
    const uint32_t changes = 1 + below(random, 4);
    for (uint32_t i = 0; i < changes && !bytes.empty(); ++i) {
        // Half of the changes hit the header and the words behind it or the end, where sizes stand.
        const size_t size = bytes.size(), near = std::min<size_t>(size, 60);
        const size_t at = below(random, 2)   ? below(random, size)
                          : below(random, 2) ? below(random, near)
                                             : size - 1 - below(random, near);
        switch (below(random, 7)) {
            case 0:
                bytes[at] = static_cast<char>(bytes[at] ^ 1 << below(random, 8));
                break;
            case 1:
                bytes[at] = static_cast<char>(random());
                break;
            case 2:
                bytes.resize(at);
                break;
            case 3:
                bytes.insert(at, below(random, 40), static_cast<char>(random()));
                break;
            case 4:  // every word from here to the end of the state, whatever it counts
                for (size_t word = std::max<size_t>(at / 4 * 4, 20); word + 4 <= size; word += 4) {
                    put(bytes, word, awkward(random));
                }
                break;
            default:
                if (at / 4 * 4 + 4 <= size) put(bytes, at / 4 * 4, awkward(random));
        }
    }
}

void use(const drawing::Stream& stream) {
    constexpr int32_t kNumbers = 700;
    uint64_t words[2 * kNumbers];
    double doubles[kNumbers];
    float singles[kNumbers];
    if (stream->identifier != kOzkVslNondeterministic) {  // any retry limit may be a long wait
        _vsliRngUniformBits(0, stream.get(), kNumbers, words);
        _vsldRngUniform(0, stream.get(), kNumbers, doubles, 0, 1);
        _vslsRngUniform(0, stream.get(), kNumbers, singles, 0, 1);
        _vsldRngGaussian(kOzkVslGaussianBoxMullerPairs, stream.get(), 3, doubles, 0, 1);
    }
    __vslLeapfrogStream(stream.get(), 0, 1);
    __vslSkipAheadStream(stream.get(), 5);
    OzkVslStream* copy = nullptr;
    ASSERT_EQ(__vslCopyStream(&copy, stream.get()), kOzkVslSuccess);
    EXPECT_EQ(saved(drawing::Stream(copy)).size(), saved(stream).size());
}

TEST(LoadFuzz, NoImageBreaksTheLoadersOrWhatTheyLoad) {
    const std::vector<Bytes> images = seeds();
    const uint64_t rounds = setting("OZK_FUZZ_ROUNDS", 1000);
    Random random(static_cast<uint32_t>(setting("OZK_FUZZ_SEED", 1)));
    const File file("fuzz");
    const int before = test_allocator::live_blocks;
    uint64_t accepted = 0, refused = 0;
    for (uint64_t round = 0; round < rounds; ++round) {
        Bytes bytes = images[below(random, images.size())];
        mutate(bytes, random);
        test_allocator::largest_request = 0;
        file.write(bytes);
        for (const Loaded& loaded : {load_file(file.path), load_memory(bytes)}) {
            ASSERT_EQ(loaded.status == kOzkVslSuccess, loaded.stream != nullptr);
            ++(loaded.stream ? accepted : refused);
            ASSERT_LE(test_allocator::largest_request,
                      std::max(bytes.size() + sizeof(OzkVslStream), size_t{84288}));
            if (loaded.stream) use(loaded.stream);
        }
        ASSERT_EQ(test_allocator::live_blocks, before) << "round " << round;
    }
    // The mutations are of use only when they reach both.
    EXPECT_GT(accepted, rounds / 4);
    EXPECT_GT(refused, rounds / 4);
}

}  // namespace
