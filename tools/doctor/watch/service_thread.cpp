#include "watch/service_thread.h"

#include <chrono>
#include <csignal>

#include "Main/main.h"

/// The service's main(), under the name that the linker knows it by here.
extern "C" int quorvex_main();

namespace doctor {

ServiceThread::ServiceThread()
    : thread_([this] {
          quorvex_main();
          has_ended_ = true;
      }) {}

// A signal that comes before its main loop is only logged, so it is repeated.
ServiceThread::~ServiceThread() {
    while (!has_ended_) {
        sig_handler(SIGTERM);
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
    }
    thread_.join();
}

}  // namespace doctor
