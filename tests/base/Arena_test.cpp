#include "base/Arena.h"

#include <gtest/gtest.h>

#include <array>
#include <cstdint>
#include <cstring>
#include <memory>
#include <vector>

namespace zq {
namespace {

class ArenaOfEachLife : public testing::TestWithParam<Arena::Life> {};

TEST_P(ArenaOfEachLife, PiecesDoNotOverlapAndStayUntilTheEnd) {
    Arena arena(GetParam());
    std::vector<unsigned char*> pieces;
    for (int round = 0; round < 3; ++round) {
        pieces.clear();
        for (size_t bytes = 1; bytes < 3000; bytes += 7) {
            auto* piece = arena.Allocate<unsigned char>(bytes);
            std::memset(piece, static_cast<int>(bytes & 0xFF), bytes);
            pieces.push_back(piece);
        }
        size_t bytes = 1;
        for (const unsigned char* piece : pieces) {
            for (size_t i = 0; i < bytes; ++i) {
                ASSERT_EQ(bytes & 0xFF, piece[i]) << bytes;
            }
            bytes += 7;
        }
        arena.Clear();
    }
}

TEST_P(ArenaOfEachLife, MemoryThatIsNotTakenIsHandedOutAgain) {
    Arena arena(GetParam());
    void* room = arena.Room(100);
    EXPECT_EQ(room, arena.Room(60));
    arena.Take(50);
    EXPECT_EQ(static_cast<std::byte*>(room) + 56, arena.Room(1));
}

TEST_P(ArenaOfEachLife, ExpectedPiecesAreAdjacent) {
    constexpr size_t kBytes = 1024;
    constexpr size_t kPieces = 60;
    Arena arena(GetParam());
    arena.Expect(kPieces * kBytes);
    const auto* first = arena.Allocate<std::byte>(kBytes);
    for (size_t i = 1; i < kPieces; ++i) {
        ASSERT_EQ(first + i * kBytes, arena.Allocate<std::byte>(kBytes)) << i;
    }
}

TEST_P(ArenaOfEachLife, APieceTooLargeForAnyMemoryIsRefused) {
    Arena arena(GetParam());
    EXPECT_THROW(arena.Allocate<uint64_t>(static_cast<size_t>(-1) / 8), std::bad_alloc);
    EXPECT_NE(nullptr, arena.Allocate<uint64_t>(1));
}

// Pieces of several chunks, one with a chunk of its own.
std::vector<unsigned char*> FillWithPieces(Arena& arena, const std::vector<size_t>& sizes) {
    std::vector<unsigned char*> pieces;
    for (const size_t bytes : sizes) {
        pieces.push_back(arena.Allocate<unsigned char>(bytes));
        std::memset(pieces.back(), static_cast<int>(bytes & 0xFF), bytes);
    }
    return pieces;
}

TEST_P(ArenaOfEachLife, PiecesStayUntilTheyAreGivenBackInAnyOrder) {
    std::vector<size_t> sizes(20'000, 24);
    sizes.insert(sizes.end(), {1'000'000, 1, 0, 40});
    for (const size_t step :
         {size_t{1}, size_t{7919}, sizes.size() - 1}) { // forwards, here and there, backwards
        Arena arena(GetParam());
        const std::vector<unsigned char*> pieces = FillWithPieces(arena, sizes);
        Arena::Release release(arena);

        for (size_t i = 0, piece = 0; i < sizes.size(); ++i, piece = (piece + step) % sizes.size()) {
            for (size_t byte = 0; byte < sizes[piece]; ++byte) {
                ASSERT_EQ(sizes[piece] & 0xFF, pieces[piece][byte]) << piece;
            }
            release.GiveBack(pieces[piece], sizes[piece]);
        }
    }
}

TEST_P(ArenaOfEachLife, WhatIsNotGivenBackIsFreedAtTheEnd) {
    Arena arena(GetParam());
    const std::vector<unsigned char*> pieces = FillWithPieces(arena, std::vector<size_t>(20'000, 24));
    Arena::Release release(arena);
    release.GiveBack(pieces[1], 24);
}

TEST_P(ArenaOfEachLife, ReleasedArenaStartsAfresh) {
    Arena arena(GetParam());
    auto* old = arena.Allocate<unsigned char>(100);
    std::memset(old, 1, 100);
    const Arena::Release release(arena);

    std::memset(arena.Allocate<unsigned char>(100), 2, 100);

    EXPECT_EQ(1, old[0]);
    EXPECT_EQ(1, old[99]);
}

// Holds the chunks that are kept for short-lived arenas, so that the next one takes the memory freed last.
class KeptChunksInUse {
public:
    KeptChunksInUse() {
        for (Arena& arena : m_arenas) {
            arena.Allocate<unsigned char>(1);
        }
    }

private:
    std::array<Arena, 4> m_arenas{Arena(Arena::Life::Short), Arena(Arena::Life::Short),
                                  Arena(Arena::Life::Short), Arena(Arena::Life::Short)};
};

TEST(Arena, ChunkIsFreedWithTheLastOfItsPieces) {
    const KeptChunksInUse keptChunks;
    Arena arena(Arena::Life::Short);
    auto* first = arena.Allocate<unsigned char>(24);
    auto* second = arena.Allocate<unsigned char>(24);
    Arena::Release release(arena);

    release.GiveBack(second, 24);
    Arena before(Arena::Life::Short);
    EXPECT_NE(first, before.Allocate<unsigned char>(24));
    release.GiveBack(first, 24);
    Arena after(Arena::Life::Short);
    EXPECT_EQ(first, after.Allocate<unsigned char>(24));
}

TEST(Arena, PiecesOfEveryLengthAreGivenBackWhole) {
    const KeptChunksInUse keptChunks;
    for (const size_t alignment : {size_t{1}, size_t{2}, size_t{8}}) {
        Arena arena(Arena::Life::Short, alignment);
        std::vector<unsigned char*> pieces;
        for (size_t bytes = 1; bytes <= 40; ++bytes) {
            pieces.push_back(arena.Allocate<unsigned char>(bytes));
        }
        Arena::Release release(arena);

        for (size_t bytes = 1; bytes <= 40; ++bytes) {
            release.GiveBack(pieces[bytes - 1], bytes);
        }
        Arena after(Arena::Life::Short);
        EXPECT_EQ(pieces[0], after.Allocate<unsigned char>(1)) << alignment;
    }
}

TEST_P(ArenaOfEachLife, ReturnsToAPlaceInTheChunkInUse) {
    Arena arena(GetParam());
    const Arena::Place empty = arena.Here();
    EXPECT_TRUE(arena.IsInChunkOf(empty));
    arena.ReturnTo(empty);

    const auto* first = arena.Allocate<unsigned char>(8);
    const Arena::Place place = arena.Here();
    const auto* second = arena.Allocate<unsigned char>(8);
    ASSERT_TRUE(arena.IsInChunkOf(place));
    arena.ReturnTo(place);
    EXPECT_EQ(second, arena.Allocate<unsigned char>(8));
    ASSERT_TRUE(arena.IsInChunkOf(empty));
    arena.ReturnTo(empty);
    EXPECT_EQ(first, arena.Allocate<unsigned char>(8));

    arena.Allocate<unsigned char>(size_t{1024} * 1024); // in a chunk of its own
    EXPECT_FALSE(arena.IsInChunkOf(place));
    EXPECT_FALSE(arena.IsInChunkOf(empty));
}

TEST(Arena, TheChunkOfAShortLivedArenaIsKeptForTheNextOne) {
    const KeptChunksInUse keptChunks;
    const void* chunk = nullptr;
    {
        Arena arena(Arena::Life::Short);
        chunk = arena.Allocate<unsigned char>(1);
    }
    // Memory that was given back to the system's heap would be taken by one of these.
    Arena longLived;
    for (int i = 0; i < 100; ++i) {
        longLived.Allocate<unsigned char>(size_t{64} * 1024);
    }

    Arena next(Arena::Life::Short);
    EXPECT_EQ(chunk, next.Allocate<unsigned char>(1));
}

INSTANTIATE_TEST_SUITE_P(All, ArenaOfEachLife, testing::Values(Arena::Life::Long, Arena::Life::Short));

} // namespace
} // namespace zq
