/// A message bus on which everybody who can be asked answers what a run's input has them answer, with any types in any
/// order. The client's connection is one end of a socket pair.
#pragma once

#include <map>
#include <string>

#include "fuzz.h"

namespace fuzz {

/// The strings stand in a message's header, the rest is its body as it goes over the wire.
struct BusSignal {
    std::string sender;
    std::string path;
    std::string interface;
    std::string member;
};
struct BusBody {
    std::string signature;
    std::string bytes;
};

/// One at a time. The client's next connection, to any bus, is to this one.
class BusDaemon {
public:
    explicit BusDaemon(Input& input);
    ~BusDaemon();
    BusDaemon(const BusDaemon&) = delete;
    BusDaemon& operator=(const BusDaemon&) = delete;

    /// Answers what was asked, and lets the client read it; until there is silence.
    void Serve();
    void Send(const BusSignal& signal, const BusBody& body);
    void SendRaw(const std::string& bytes) const;
    void HangUp();
    BusBody BodyFromInput();

    static int Connect(void** bus);

private:
    struct Question;
    bool Answer();
    void AnswerOne(const Question& question);
    void Reply(std::uint32_t to, const BusBody& body, const char* error = nullptr);
    void Receive();

    Input& input_;
    int socket_ = -1;
    bool isGreeted_ = false;
    std::string received_;
    std::uint32_t serial_ = 0;
};

}  // namespace fuzz
