#include "LibraryThread.h"

#include <pthread.h>

#include <csignal>

LibraryThread::LibraryThread(const std::string& name) {
    sigset_t all;
    sigset_t before;
    sigfillset(&all);
    pthread_sigmask(SIG_SETMASK, &all, &before);
    thread_ = std::thread([this, name] { Deliver(name); });
    pthread_sigmask(SIG_SETMASK, &before, nullptr);
}

void LibraryThread::Post(std::function<void()> task) {
    const std::lock_guard<std::mutex> lock(mutex_);
    if (!stopped_) {
        tasks_.push_back(std::move(task));
        changed_.notify_all();
    }
}

bool LibraryThread::WaitUntilIdle(std::chrono::milliseconds atMost) const {
    if (std::this_thread::get_id() == thread_.get_id()) {
        return true;
    }
    std::unique_lock<std::mutex> lock(mutex_);
    return changed_.wait_for(lock, atMost, [this] { return tasks_.empty() && !delivering_; });
}

void LibraryThread::Stop() {
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        stopped_ = true;
        tasks_.clear();
        changed_.notify_all();
    }
    if (thread_.joinable()) {
        thread_.join();
    }
}

void LibraryThread::Deliver(const std::string& name) {
    pthread_setname_np(pthread_self(), name.c_str());
    std::unique_lock<std::mutex> lock(mutex_);
    for (;;) {
        changed_.wait(lock, [this] { return stopped_ || !tasks_.empty(); });
        if (stopped_) {
            return;
        }
        const std::function<void()> task = std::move(tasks_.front());
        tasks_.pop_front();
        delivering_ = true;
        lock.unlock();
        task();
        lock.lock();
        delivering_ = false;
        changed_.notify_all();
    }
}
