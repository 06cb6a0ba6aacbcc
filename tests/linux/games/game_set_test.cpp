#include "gamepad/games/game_set.h"

#include <gmock/gmock.h>

#include "gamepad/games/ledger.h"

namespace games {

bool operator==(const Change& one, const Change& other) {
    return one.pid == other.pid && one.is_open == other.is_open;
}

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

std::vector<Change> TakeAll(Ledger& ledger, long long now) {
    std::vector<Change> changes;
    while (const std::optional<Change> change = ledger.Take(now)) {
        changes.push_back(*change);
    }
    return changes;
}

TEST(AGame, OpensWithItsFirstSourceOnly) {
    GameSet games;
    EXPECT_TRUE(games.Add(7, Source::kReader));
    EXPECT_FALSE(games.Add(7, Source::kReader));
    EXPECT_FALSE(games.Add(7, Source::kGameMode));
    EXPECT_THAT(games.Pids(), ElementsAre(7));
}

TEST(AGame, ClosesWithItsLastSourceOnly) {
    GameSet games;
    games.Add(7, Source::kReader);
    games.Add(7, Source::kGameMode);
    EXPECT_FALSE(games.Remove(7, Source::kReader));
    EXPECT_TRUE(games.Contains(7));
    EXPECT_FALSE(games.Remove(7, Source::kReader));
    EXPECT_TRUE(games.Remove(7, Source::kGameMode));
    EXPECT_FALSE(games.Contains(7));
    EXPECT_FALSE(games.Remove(7, Source::kGameMode));
}

TEST(AGame, ThatEndsIsGoneWhateverItsSources) {
    GameSet games;
    games.Add(7, Source::kReader);
    games.Add(7, Source::kGameMode);
    EXPECT_TRUE(games.Erase(7));
    EXPECT_FALSE(games.Erase(7));
    EXPECT_FALSE(games.Contains(7));
}

TEST(Games, AreOrderedByTheirOpening) {
    GameSet games;
    EXPECT_EQ(games.Newest(), 0);
    games.Add(30, Source::kReader);
    games.Add(10, Source::kGameMode);
    games.Add(20, Source::kReader);
    games.Add(30, Source::kGameMode);
    EXPECT_THAT(games.Pids(), ElementsAre(30, 10, 20));
    EXPECT_EQ(games.Newest(), 20);
    games.Erase(20);
    EXPECT_EQ(games.Newest(), 10);
}

TEST(Games, AreKnownBySource) {
    GameSet games;
    games.Add(1, Source::kReader);
    games.Add(2, Source::kGameMode);
    games.Add(1, Source::kGameMode);
    EXPECT_THAT(games.Of(Source::kReader), ElementsAre(1));
    EXPECT_THAT(games.Of(Source::kGameMode), ElementsAre(1, 2));
}

TEST(Changes, AreTakenOnceAndInOrder) {
    Ledger ledger;
    EXPECT_TRUE(ledger.Add(1, Source::kReader));
    EXPECT_FALSE(ledger.Add(1, Source::kGameMode));
    EXPECT_TRUE(ledger.Add(2, Source::kReader));
    EXPECT_TRUE(ledger.Erase(1));
    EXPECT_FALSE(ledger.Remove(1, Source::kReader));
    EXPECT_THAT(TakeAll(ledger, 0), ElementsAre(Change{1, true}, Change{2, true}, Change{1, false}));
    EXPECT_THAT(TakeAll(ledger, 0), IsEmpty());
    EXPECT_EQ(ledger.DueAt(), std::nullopt);
}

TEST(Changes, WaitForWhoHasJustReadTheText) {
    Ledger ledger;
    ledger.Add(1, Source::kReader);
    ledger.Add(2, Source::kReader);
    EXPECT_EQ(ledger.TextAndHold(500), "1,2");
    EXPECT_EQ(ledger.TextAndHold(400), "1,2");
    EXPECT_EQ(ledger.DueAt(), 500);
    EXPECT_THAT(TakeAll(ledger, 499), IsEmpty());
    EXPECT_THAT(TakeAll(ledger, 500), ElementsAre(Change{1, true}, Change{2, true}));
}

TEST(Changes, AreForgottenWithTheGames) {
    Ledger ledger;
    ledger.Add(1, Source::kReader);
    ledger.Clear();
    EXPECT_FALSE(ledger.Contains(1));
    EXPECT_EQ(ledger.Newest(), 0);
    EXPECT_EQ(ledger.TextAndHold(0), "");
    EXPECT_THAT(TakeAll(ledger, 0), IsEmpty());
}

}  // namespace
}  // namespace games
