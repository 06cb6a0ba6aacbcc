#include "bus/bus.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include "events/comeback.h"
#include "events/events_thread.h"
#include "private_bus.h"
#include "program.h"

namespace {

constexpr char kName[] = "org.example.Lamp";
constexpr char kPath[] = "/org/example/Lamp";
constexpr char kInterface[] = "org.example.Lamp";
constexpr std::chrono::seconds kSoon{20};

/// Texts that callbacks note and the test waits for.
class Notes {
public:
    void Add(const std::string& text) {
        const std::lock_guard<std::mutex> lock(lock_);
        texts_.push_back(text);
        changed_.notify_all();
    }
    bool WaitFor(const std::vector<std::string>& texts) {
        std::unique_lock<std::mutex> lock(lock_);
        return changed_.wait_for(lock, kSoon, [&] { return texts_ == texts; });
    }
    std::vector<std::string> All() {
        const std::lock_guard<std::mutex> lock(lock_);
        return texts_;
    }

private:
    std::mutex lock_;
    std::condition_variable changed_;
    std::vector<std::string> texts_;
};

/// A peer on the bus, driven by the test's own thread.
class Peer {
public:
    Peer() { EXPECT_GE(sd_bus_open_user(&bus_), 0); }
    ~Peer() { sd_bus_flush_close_unref(bus_); }
    Peer(const Peer&) = delete;
    Peer& operator=(const Peer&) = delete;

    void Own() { EXPECT_GE(sd_bus_request_name(bus_, kName, 0), 0); }
    void Emit(const char* text) {
        EXPECT_GE(sd_bus_emit_signal(bus_, kPath, kInterface, "Changed", "s", text), 0);
        EXPECT_GE(sd_bus_flush(bus_), 0);
    }
    void EmitTo(const std::string& destination, const char* text) {
        sd_bus_message* signal = nullptr;
        EXPECT_GE(sd_bus_message_new_signal(bus_, &signal, kPath, kInterface, "Changed"), 0);
        EXPECT_GE(sd_bus_message_append(signal, "s", text), 0);
        EXPECT_GE(sd_bus_send_to(bus_, signal, destination.c_str(), nullptr), 0);
        sd_bus_message_unref(signal);
        EXPECT_GE(sd_bus_flush(bus_), 0);
    }
    /// Answers one call with its own argument, or with an error.
    void AnswerOne(bool withError) {
        sd_bus_message* call = WaitForCall();
        ASSERT_NE(call, nullptr);
        const char* text = "";
        sd_bus_message_read(call, "s", &text);
        if (withError) {
            sd_bus_reply_method_errorf(call, SD_BUS_ERROR_FAILED, "no");
        } else {
            sd_bus_reply_method_return(call, "s", text);
        }
        sd_bus_message_unref(call);
        sd_bus_flush(bus_);
    }

private:
    sd_bus_message* WaitForCall() {
        const auto deadline = std::chrono::steady_clock::now() + kSoon;
        while (std::chrono::steady_clock::now() < deadline) {
            sd_bus_message* message = nullptr;
            while (sd_bus_process(bus_, &message) > 0) {
                if (message != nullptr && sd_bus_message_is_method_call(message, kInterface, "Echo") > 0) {
                    return message;
                }
                message = sd_bus_message_unref(message);
            }
            sd_bus_wait(bus_, 100000);
        }
        return nullptr;
    }

    sd_bus* bus_ = nullptr;
};

class ABus : public testing::Test {
protected:
    ~ABus() override {
        thread_.Run([this] { bus_.reset(); });
    }

    void Connect() {
        thread_.Run([this] {
            bus_ = std::make_unique<Bus>(thread_.Context(), Bus::Kind::kSession);
            bus_->WatchName(kName, [this](bool isOwned) { owners_.Add(isOwned ? "owned" : "free"); });
            bus_->Subscribe({kName, kPath, kInterface, "Changed"}, [this](sd_bus_message* signal) {
                const char* text = "";
                sd_bus_message_read(signal, "s", &text);
                signals_.Add(text);
            });
        });
    }
    void CallEcho(const char* text) {
        thread_.Run([this, text] {
            const bool isSent = bus_->Call(
                {kName, kPath, kInterface, "Echo"},
                [text](sd_bus_message* call) { return sd_bus_message_append(call, "s", text); },
                [this](sd_bus_message* reply) {
                    const char* answer = "nothing";
                    if (reply != nullptr) {
                        sd_bus_message_read(reply, "s", &answer);
                    }
                    replies_.Add(answer);
                });
            EXPECT_TRUE(isSent);
        });
    }

    PrivateBus daemon_;
    EventsThread thread_;
    std::unique_ptr<Bus> bus_;
    Notes owners_;
    Notes signals_;
    Notes replies_;
};

class ABusWithAnOwner : public ABus {
protected:
    void SetUp() override {
        daemon_.Start();
        Connect();
        owner_ = std::make_unique<Peer>();
        owner_->Own();
        ASSERT_TRUE(owners_.WaitFor({"free", "owned"}));
    }

    std::unique_ptr<Peer> owner_;
};

TEST_F(ABus, TellsTheOwnerThatIsThereAlready) {
    daemon_.Start();
    Peer peer;
    peer.Own();
    Connect();
    EXPECT_TRUE(owners_.WaitFor({"free", "owned"}));
}

TEST_F(ABus, TellsAnOwnerThatComesAndGoes) {
    daemon_.Start();
    Connect();
    {
        Peer peer;
        peer.Own();
        EXPECT_TRUE(owners_.WaitFor({"free", "owned"}));
    }
    EXPECT_TRUE(owners_.WaitFor({"free", "owned", "free"}));
}

TEST_F(ABusWithAnOwner, DeliversTheOwnersSignals) {
    owner_->Emit("on");
    EXPECT_TRUE(signals_.WaitFor({"on"}));
}

TEST_F(ABusWithAnOwner, DoesNotBelieveSignalsOfOthersEvenWhenTheyAreSentToItAlone) {
    Peer liar;
    std::string ourName;
    thread_.Run([&] { ourName = bus_->UniqueName(); });
    liar.Emit("lie to all");
    liar.EmitTo(ourName, "lie to us");
    owner_->EmitTo(ourName, "truth");
    EXPECT_TRUE(signals_.WaitFor({"truth"}));
}

TEST_F(ABusWithAnOwner, BringsReplies) {
    CallEcho("hello");
    owner_->AnswerOne(/*withError=*/false);
    EXPECT_TRUE(replies_.WaitFor({"hello"}));
}

TEST_F(ABusWithAnOwner, TellsThatACallFailed) {
    CallEcho("hello");
    owner_->AnswerOne(/*withError=*/true);
    EXPECT_TRUE(replies_.WaitFor({"nothing"}));
}

TEST_F(ABusWithAnOwner, AnswersCallsThatTheLostBusLeftOpen) {
    CallEcho("hello");
    daemon_.Kill();
    EXPECT_TRUE(replies_.WaitFor({"nothing"}));
}

TEST_F(ABus, IsUsedWhenItComesLater) {
    Connect();
    EXPECT_TRUE(owners_.WaitFor({"free"}));
    daemon_.Start();
    Peer peer;
    peer.Own();
    EXPECT_TRUE(owners_.WaitFor({"free", "owned"}));
    peer.Emit("on");
    EXPECT_TRUE(signals_.WaitFor({"on"}));
}

TEST_F(ABus, IsUsedAgainWhenItComesBack) {
    daemon_.Start();
    Connect();
    {
        Peer peer;
        peer.Own();
        ASSERT_TRUE(owners_.WaitFor({"free", "owned"}));
        daemon_.Kill();
        EXPECT_TRUE(owners_.WaitFor({"free", "owned", "free"}));
    }
    daemon_.Start();
    Peer peer;
    peer.Own();
    EXPECT_TRUE(owners_.WaitFor({"free", "owned", "free", "owned"}));
    peer.Emit("on again");
    EXPECT_TRUE(signals_.WaitFor({"on again"}));
}

TEST_F(ABus, MayBeGivenUpWhileItIsMissing) {
    Connect();
    thread_.Run([this] { bus_.reset(); });
    daemon_.Start();
    EXPECT_EQ(owners_.All(), std::vector<std::string>{"free"});
}

TEST_F(ABusWithAnOwner, IsConnectedToOnceByAllWhoUseIt) {
    thread_.Run([this] {
        const Bus other(thread_.Context(), Bus::Kind::kSession);
        EXPECT_EQ(other.UniqueName(), bus_->UniqueName());
        EXPECT_NE(other.UniqueName(), "");
    });
}

TEST_F(ABusWithAnOwner, AnswersNobodyWhoEndedMeanwhile) {
    thread_.Run([this] {
        Bus other(thread_.Context(), Bus::Kind::kSession);
        EXPECT_TRUE(
            other.Call({kName, kPath, kInterface, "Echo"}, {}, [this](sd_bus_message*) { replies_.Add("late"); }));
    });
    owner_->AnswerOne(/*withError=*/false);
    CallEcho("hello");
    owner_->AnswerOne(/*withError=*/false);
    EXPECT_TRUE(replies_.WaitFor({"hello"}));
}

// What happens to other sockets in the directory says nothing of when this one will be listened on.
TEST(AComeback, IsTriedSoonAgainHoweverMuchHappensAroundIt) {
    const EventsThread thread;
    char folder[] = "/tmp/quorvex-comeback-XXXXXX";
    ASSERT_NE(mkdtemp(folder), nullptr);
    const std::string path = std::string(folder) + "/socket";
    std::atomic<int> tries{0};
    std::unique_ptr<Comeback> comeback;
    thread.Run([&] {
        comeback = std::make_unique<Comeback>(thread.Context(), "a server", [&] {
            comeback->Gone(path, "nobody listens");
            ++tries;
        });
        comeback->Gone(path, "it is not there");
    });
    for (int i = 0; i < 12; ++i) {
        std::ofstream(std::string(folder) + "/other" + std::to_string(i));
        ASSERT_TRUE(WaitUntil([&] { return tries > i; }));
    }
    std::ofstream(path).close();
    ASSERT_TRUE(WaitUntil([&] { return tries > 12; }));
    const auto start = std::chrono::steady_clock::now();
    const int before = tries;
    ASSERT_TRUE(WaitUntil([&] { return tries > before; }));
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(10));
    thread.Run([&] { comeback.reset(); });
    std::filesystem::remove_all(folder);
}

TEST(TheEventsThread, RunsWorkInOrderAndWaitsForItAtTheEnd) {
    std::string order;
    {
        const EventsThread thread;
        thread.Post([&] { order += "a"; });
        thread.Run([&] { order += "b"; });
        thread.Post([&] { order += "c"; });
    }
    EXPECT_EQ(order, "abc");
}

TEST(TheEventsThread, IsSharedAndMayRunWorkFromItself) {
    const EventsThread first;
    const EventsThread second;
    EXPECT_EQ(first.Context(), second.Context());
    bool ran = false;
    first.Run([&] { second.Run([&] { ran = true; }); });
    EXPECT_TRUE(ran);
}

}  // namespace
