#include "gamepad/games/game_set.h"

#include <gmock/gmock.h>

#include <utility>

#include "gamepad/games/ledger.h"

namespace games {

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

using Told = std::pair<pid_t, bool>;

/// What the one who joined with this number is told, taken together with what is meant for others.
std::vector<Told> TakeAll(Ledger& ledger, long long now, unsigned long long number = 0) {
    std::vector<Told> told;
    while (const std::optional<Change> change = ledger.Take(now)) {
        if (change->first <= number && number < change->end) {
            told.emplace_back(change->pid, change->is_open);
        }
    }
    return told;
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
    ledger.Join();
    EXPECT_TRUE(ledger.Add(1, Source::kReader));
    EXPECT_FALSE(ledger.Add(1, Source::kGameMode));
    EXPECT_TRUE(ledger.Add(2, Source::kReader));
    EXPECT_TRUE(ledger.Erase(1));
    EXPECT_FALSE(ledger.Remove(1, Source::kReader));
    EXPECT_THAT(TakeAll(ledger, 0), ElementsAre(Told{1, true}, Told{2, true}, Told{1, false}));
    EXPECT_THAT(TakeAll(ledger, 0), IsEmpty());
    EXPECT_EQ(ledger.DueAt(), std::nullopt);
}

TEST(Changes, WaitForWhoHasJustReadTheText) {
    Ledger ledger;
    ledger.Join();
    ledger.Add(1, Source::kReader);
    ledger.Add(2, Source::kReader);
    EXPECT_EQ(ledger.TextAndHoldUntil(500), "1,2");
    EXPECT_EQ(ledger.TextAndHoldUntil(400), "1,2");
    EXPECT_EQ(ledger.DueAt(), 500);
    EXPECT_THAT(TakeAll(ledger, 499), IsEmpty());
    EXPECT_THAT(TakeAll(ledger, 500), ElementsAre(Told{1, true}, Told{2, true}));
}

TEST(Changes, WaitAsLongAsAnybodyWants) {
    Ledger ledger;
    ledger.Join();
    ledger.Add(1, Source::kReader);
    ledger.HoldUntil(500);
    ledger.HoldUntil(400);
    EXPECT_THAT(TakeAll(ledger, 499), IsEmpty());
    EXPECT_THAT(TakeAll(ledger, 500), ElementsAre(Told{1, true}));
}

TEST(Changes, AreForgottenWithTheGames) {
    Ledger ledger;
    ledger.Join();
    ledger.Add(1, Source::kReader);
    ledger.Clear();
    EXPECT_FALSE(ledger.Contains(1));
    EXPECT_EQ(ledger.Newest(), 0);
    EXPECT_EQ(ledger.TextAndHoldUntil(0), "");
    EXPECT_THAT(TakeAll(ledger, 0), IsEmpty());
}

TEST(Changes, BeginWithTheGamesThatRunForWhoeverJoins) {
    Ledger ledger;
    ledger.Join();
    ledger.Add(1, Source::kReader);
    ledger.Add(2, Source::kReader);
    TakeAll(ledger, 0);
    ledger.Erase(1);
    const unsigned long long second = ledger.Join();
    ledger.Erase(2);
    EXPECT_THAT(TakeAll(ledger, 0, second), ElementsAre(Told{2, true}, Told{2, false}));
}

TEST(Changes, OfOneWhoJoinsAreNobodyElses) {
    Ledger ledger;
    ledger.Join();
    ledger.Add(1, Source::kReader);
    ledger.Join();
    ledger.Erase(1);
    EXPECT_THAT(TakeAll(ledger, 0), ElementsAre(Told{1, true}, Told{1, false}));
}

}  // namespace
}  // namespace games
