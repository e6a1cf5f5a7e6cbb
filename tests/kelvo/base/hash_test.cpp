#include "kelvo/base/hash.h"

#include "kelvo/base/hash_steps.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <bit>
#include <cstring>
#include <random>
#include <string>
#include <vector>

using namespace qv;

namespace {

std::vector<u8> randomBytes(u64 size) {
    std::mt19937_64 random(size + 1);
    std::vector<u8> bytes(size);
    for (u8& byte : bytes)
        byte = static_cast<u8>(random());
    return bytes;
}

u64 hashText(const std::string& text) {
    return hashBytes(text.data(), text.size());
}

u64 collisions(std::vector<u64>& hashes) {
    std::sort(hashes.begin(), hashes.end());
    u64 count = 0;
    for (std::size_t i = 1; i < hashes.size(); ++i)
        count += hashes[i] == hashes[i - 1];
    return count;
}

} // namespace

// The values are part of the contract, because files and caches may store them.
TEST(Hash, KnownTexts_HaveTheirHashOnEveryPlatform) {
    struct Case {
        const char* text;
        u64 hash;
    };
    const Case cases[] = {
        {"", 0xf64433a43ea56d05u},
        {"a", 0x14026c49e6fc7a3bu},
        {"ab", 0x1ed0d053ad032c7eu},
        {"abc", 0xdc9252ab2e3707fbu},
        {"name", 0x010d977d098ee44fu},
        {"radius", 0x7309f6792f4ff5e3u},
        {"children", 0xff3eb4b2a470a4b5u},
        {"baseColorTexture", 0x14444bf1650f54d5u},
        {"a text of more than sixteen bytes", 0x62ce4bda53f45c2du},
    };
    for (const Case& c : cases)
        EXPECT_EQ(hashBytes(c.text, std::strlen(c.text)), c.hash) << c.text;
}

TEST(Hash, KnownBuffers_HaveTheirHashOnEveryPlatform) {
    std::vector<u8> bytes(100000);
    for (std::size_t i = 0; i < bytes.size(); ++i)
        bytes[i] = static_cast<u8>(i * 7 + i / 256);
    EXPECT_EQ(hashBytes(bytes.data(), 64), 0xd88eb0b70ff09601u);
    EXPECT_EQ(hashBytes(bytes.data(), 65), 0xd392406500ccdd56u);
    EXPECT_EQ(hashBytes(bytes.data(), 128), 0x816d0d6d36883855u);
    EXPECT_EQ(hashBytes(bytes.data(), bytes.size()), 0x7467ff8b3908eac7u);
    EXPECT_EQ(hashBytes(bytes.data(), bytes.size(), 1), 0xdfbf794983cae237u);
}

TEST(Hash, OfNothing_IsTheConstant) {
    EXPECT_EQ(hashBytes(nullptr, 0), hashOfNothing);
    EXPECT_EQ(hashFolded(""), hashOfNothing);
    EXPECT_NE(hashOfNothing, 0u);
}

TEST(Hash, Words_HashAsTheirValuesFromTheLeastSignificantByteOn) {
    for (u64 count = 0; count < 40; ++count) {
        std::vector<u64> words;
        std::vector<u8> bytes;
        for (u64 i = 0; i < count; ++i) {
            words.push_back((i + 1) * 0x9e3779b97f4a7c15u);
            for (u64 byte = 0; byte < 8; ++byte)
                bytes.push_back(static_cast<u8>(words.back() >> 8 * byte));
        }
        EXPECT_EQ(hashWords(words.data(), count, 7), hashBytes(bytes.data(), bytes.size(), 7));
    }
}

template<typename Number>
void expectHashFromTheLeastSignificantByteOn() {
    for (u64 count = 0; count < 90; ++count) {
        std::vector<Number> numbers;
        std::vector<u8> bytes;
        for (u64 i = 0; i < count; ++i) {
            numbers.push_back(static_cast<Number>((i + 1) * 0x9e3779b97f4a7c15u));
            for (u64 byte = 0; byte < sizeof(Number); ++byte)
                bytes.push_back(static_cast<u8>(u64{numbers.back()} >> 8 * byte));
        }
        ASSERT_EQ(hashNumbers(numbers.data(), bytes.size(), sizeof(Number), 7),
                  hashBytes(bytes.data(), bytes.size(), 7))
            << count << " numbers of " << sizeof(Number) << " bytes";
    }
}

TEST(Hash, Numbers_HashAsTheirValuesFromTheLeastSignificantByteOn) {
    expectHashFromTheLeastSignificantByteOn<u8>();
    expectHashFromTheLeastSignificantByteOn<u16>();
    expectHashFromTheLeastSignificantByteOn<u32>();
    expectHashFromTheLeastSignificantByteOn<u64>();
}

TEST(Hash, PaddedBytes_HashAsWithZerosBehindThem) {
    for (u64 size = 0; size < 400; ++size) {
        const std::vector<u8> bytes = randomBytes(size);
        std::vector<u8> padded = bytes;
        padded.resize((size + 63) / 64 * 64);
        ASSERT_EQ(hashPadded(bytes.data(), size, 5), hashBytes(padded.data(), padded.size(), 5))
            << size;
    }
}

template<u64 width>
void expectSameHashOfSwappedNumbers() {
    for (u64 size = 0; size < 300; size += width) {
        const std::vector<u8> bytes = randomBytes(size);
        std::vector<u8> swapped = bytes;
        for (auto at = swapped.begin(); at != swapped.end(); at += width)
            std::reverse(at, at + width);
        ASSERT_EQ(detail::hashAll<detail::Swapped<width>>(swapped.data(), size, 5),
                  hashBytes(bytes.data(), size, 5))
            << size << " bytes, numbers of " << width;
    }
}

// Machines that begin with the high byte read numbers like this.
TEST(Hash, SwappedNumbers_HashAsThoseOfTheOtherByteOrder) {
    expectSameHashOfSwappedNumbers<2>();
    expectSameHashOfSwappedNumbers<4>();
    expectSameHashOfSwappedNumbers<8>();
}

TEST(Hash, Alignment_DoesNotMatter) {
    for (const u64 size : {3u, 7u, 16u, 33u, 64u, 65u, 1000u}) {
        const std::vector<u8> bytes = randomBytes(size);
        std::vector<u8> moved(size + 8);
        for (u64 shift = 0; shift < 8; ++shift) {
            std::memcpy(moved.data() + shift, bytes.data(), size);
            ASSERT_EQ(hashBytes(moved.data() + shift, size), hashBytes(bytes.data(), size));
        }
    }
}

TEST(Hash, Seed_ChangesTheHash) {
    const std::vector<u8> bytes = randomBytes(500);
    for (const u64 size : {0u, 5u, 20u, 500u})
        EXPECT_NE(hashBytes(bytes.data(), size, 1), hashBytes(bytes.data(), size, 2)) << size;
}

TEST(Hash, ZerosOfEachLength_AreDistinguished) {
    const std::vector<u8> zeros(3000);
    std::vector<u64> hashes;
    for (u64 size = 0; size <= zeros.size(); ++size)
        hashes.push_back(hashBytes(zeros.data(), size));
    EXPECT_EQ(collisions(hashes), 0u);
}

// Flipping any single bit of the input flips about half of the bits of the hash.
TEST(Hash, SingleBitFlips_ReachEveryBitOfTheHash) {
    for (const u64 size : {1u, 3u, 4u, 7u, 8u, 12u, 16u, 17u, 40u, 64u, 65u, 128u, 200u, 1024u}) {
        std::vector<u8> bytes = randomBytes(size);
        const u64 trials = 64;
        std::vector<u64> flips(64);
        for (u64 trial = 0; trial < trials; ++trial) {
            bytes[trial * 31 % size] = static_cast<u8>(bytes[trial * 31 % size] + 1);
            const u64 before = hashBytes(bytes.data(), size);
            const u64 bit = trial * 0x9e3779b97f4a7c15u % (8 * size);
            bytes[bit / 8] = static_cast<u8>(bytes[bit / 8] ^ (1u << (bit % 8)));
            const u64 changed = before ^ hashBytes(bytes.data(), size);
            ASSERT_GE(std::popcount(changed), 12) << size << ' ' << bit;
            ASSERT_LE(std::popcount(changed), 52) << size << ' ' << bit;
            for (u64 i = 0; i < 64; ++i)
                flips[i] += changed >> i & 1;
        }
        for (u64 i = 0; i < 64; ++i) {
            EXPECT_GE(flips[i], trials / 8) << size << " bit " << i;
            EXPECT_LE(flips[i], trials * 7 / 8) << size << " bit " << i;
        }
    }
}

TEST(Hash, FlipsOfTwoHighBits_DoNotCancel) {
    std::vector<u8> bytes = randomBytes(1024);
    const u64 before = hashBytes(bytes.data(), bytes.size());
    for (u64 a = 7; a < bytes.size(); a += 8)
        for (u64 b = a + 8; b < bytes.size(); b += 8) {
            bytes[a] ^= 0x80;
            bytes[b] ^= 0x80;
            ASSERT_NE(hashBytes(bytes.data(), bytes.size()), before) << a << ' ' << b;
            bytes[a] ^= 0x80;
            bytes[b] ^= 0x80;
        }
}

TEST(Hash, MillionsOfShortNames_DoNotCollide) {
    std::vector<u64> hashes;
    for (int i = 0; i < 500000; ++i) {
        const std::string number = std::to_string(i);
        hashes.push_back(hashText(number));
        hashes.push_back(hashText("input" + number));
        hashes.push_back(hashText("a_longer_name_" + number + "_x"));
        hashes.push_back(hashText(number + ".color"));
    }
    EXPECT_EQ(collisions(hashes), 0u);
}

TEST(Hash, AllTextsOfUpToThreeLetters_DoNotCollide) {
    std::vector<u64> hashes;
    for (char a = 'a'; a <= 'z'; ++a) {
        hashes.push_back(hashText({a}));
        for (char b = 'a'; b <= 'z'; ++b) {
            hashes.push_back(hashText({a, b}));
            for (char c = 'a'; c <= 'z'; ++c)
                hashes.push_back(hashText({a, b, c}));
        }
    }
    EXPECT_EQ(collisions(hashes), 0u);
}

TEST(Hash, PairsOfSmallNumbers_DoNotCollide) {
    std::vector<u64> hashes;
    for (u64 a = 0; a < 1000; ++a)
        for (u64 b = 0; b < 1000; ++b) {
            const u64 words[2] = {a, b << 32};
            hashes.push_back(hashBytes(words, sizeof words));
        }
    EXPECT_EQ(collisions(hashes), 0u);
}

TEST(Hash, Names_SpreadEvenlyOverABucketTable) {
    std::vector<int> buckets(256);
    for (int i = 0; i < 25600; ++i)
        ++buckets[hashText("name" + std::to_string(i)) % 256];
    EXPECT_GT(*std::min_element(buckets.begin(), buckets.end()), 55);
    EXPECT_LT(*std::max_element(buckets.begin(), buckets.end()), 150);
}

TEST(Hash, Folded_IsThatOfTheLowerCaseText) {
    std::string upper, lower;
    for (int i = 0; i < 400; ++i) {
        EXPECT_EQ(hashFolded(upper), hashText(lower)) << i;
        upper += static_cast<char>("AzZ@[`{\x80 9"[i % 10]);
        lower += static_cast<char>("azz@[`{\x80 9"[i % 10]);
    }
}

// Such words cancel the value that they are mixed with.
TEST(Hash, Mix_OfWordsWhoseProductIsZero_IsNot) {
    EXPECT_NE(hashMix(detail::hashSalt[0], 7), 0u);
    EXPECT_NE(hashMix(7, detail::hashSalt[1]), 0u);
}

TEST(Hash, Mix_DependsOnTheOrder) {
    EXPECT_NE(hashMix(hashMix(0, 1), 2), hashMix(hashMix(0, 2), 1));
    EXPECT_EQ(hashMix(1, 2), 0x3bbcba0f366c784cu);
    EXPECT_NE(hashMix(1, 2), hashMix(2, 1));
    std::vector<u64> hashes;
    for (u64 a = 0; a < 700; ++a)
        for (u64 b = 0; b < 700; ++b)
            hashes.push_back(hashMix(a, b));
    EXPECT_EQ(collisions(hashes), 0u);
}
