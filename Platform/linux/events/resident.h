#pragma once

#include <functional>
#include <memory>
#include <utility>

#include "events/events_thread.h"

/// Something that lives on the events thread: made there, used there and destroyed there, while any thread owns it.
///
/// Destroying waits until the object is gone and nothing of it runs any more; on the events thread itself the object
/// goes a moment later instead, so that its own callbacks may end it.
template <typename T>
class Resident {
public:
    using Make = std::function<std::unique_ptr<T>(GMainContext* context)>;

    /// Does not wait.
    explicit Resident(const Make& make) : object_(std::make_shared<std::unique_ptr<T>>()) {
        thread_.Post([object = object_, make, context = thread_.Context()] { *object = make(context); });
    }
    ~Resident() {
        thread_.Post([object = std::move(object_)] { object->reset(); });
        thread_.Run([] {});
    }
    Resident(const Resident&) = delete;
    Resident& operator=(const Resident&) = delete;

    bool Works() const { return thread_.Works(); }
    /// Runs the work later, in the order of the calls; does not wait. Without memory for the object it is not run.
    void Post(std::function<void(T&)> work) const {
        thread_.Post([object = object_, work = std::move(work)] {
            if (*object != nullptr) {
                work(**object);
            }
        });
    }
    /// Waits for what was posted before, unless it is called on the events thread.
    void Settle() const {
        thread_.Run([] {});
    }

private:
    EventsThread thread_;
    std::shared_ptr<std::unique_ptr<T>> object_;
};
