/// An X server as the platform sees it through the X client libraries, which are stood in for: what it has, what it
/// answers and which events it sends come from a run's input.
#pragma once

#include "fuzz.h"

namespace fuzz {

/// One at a time.
class X11Server {
public:
    explicit X11Server(Input& input);
    ~X11Server();
    X11Server(const X11Server&) = delete;
    X11Server& operator=(const X11Server&) = delete;

    /// The client may read, until there is no more for it.
    void Say() const;
    /// The connection ends.
    void HangUp() const;
    /// How often the displays' power was asked for.
    unsigned PowerQuestions() const;
};

}  // namespace fuzz
