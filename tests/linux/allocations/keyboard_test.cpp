// What the keyboard takes from the heap for a key: nothing.

#include <fcntl.h>
#include <gtest/gtest.h>
#include <linux/input.h>
#include <unistd.h>

#include <memory>
#include <thread>

#include "counted_allocations.h"
#include "platform/virtual_key.h"
#include "virtual_key/event_writer.h"
#include "virtual_key/virtual_keyboard.h"

namespace {

TEST(TheKeyboard, TakesNothingFromTheHeap) {
    int ends[2];
    ASSERT_EQ(pipe2(ends, O_CLOEXEC), 0);
    int after = -1;
    std::thread sender([&] {
        pthread_setname_np(pthread_self(), "sender");
        VirtualKeyboard keyboard(std::make_unique<EventWriter>(ends[1]), std::make_shared<KeyMap>());
        after = AllocationsOn({"sender"}, [&keyboard] {
            for (const int key : {36, 571, 124}) {
                keyboard.Send(key, KEY_ACTION_PRESS);
                keyboard.Send(key, KEY_ACTION_RELEASE);
                keyboard.Send(key, KEY_ACTION_AUTO_PRESS_RELEASE);
            }
        });
    });
    sender.join();
    EXPECT_EQ(after, 0);
    input_event events[64];
    EXPECT_EQ(read(ends[0], events, sizeof events), static_cast<ssize_t>(3 * 8 * sizeof(input_event)));
    close(ends[0]);
    close(ends[1]);
}

}  // namespace
