#include "turns.h"

#include <pthread.h>
#include <semaphore.h>
#include <sys/time.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <condition_variable>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <deque>
#include <list>
#include <memory>
#include <thread>
#include <utility>

#include "CThread/CSemaphore.h"

extern "C" {
int __real_pthread_create(pthread_t* thread, const pthread_attr_t* attributes, void* (*body)(void*), void* argument);
int __real_pthread_mutex_lock(pthread_mutex_t* mutex);
int __real_pthread_mutex_unlock(pthread_mutex_t* mutex);
int __real_pthread_cond_wait(pthread_cond_t* condition, pthread_mutex_t* mutex);
int __real_pthread_cond_timedwait(pthread_cond_t* condition, pthread_mutex_t* mutex, const timespec* deadline);
int __real_pthread_cond_clockwait(pthread_cond_t* condition, pthread_mutex_t* mutex, clockid_t clock,
                                  const timespec* deadline);
int __real_pthread_cond_signal(pthread_cond_t* condition);
int __real_pthread_cond_broadcast(pthread_cond_t* condition);
int __real_gettimeofday(timeval* now, void* zone);
int __real_usleep(useconds_t time);
int __wrap_pthread_create(pthread_t* thread, const pthread_attr_t* attributes, void* (*body)(void*), void* argument);
int __wrap_pthread_mutex_lock(pthread_mutex_t* mutex);
int __wrap_pthread_mutex_unlock(pthread_mutex_t* mutex);
int __wrap_pthread_cond_wait(pthread_cond_t* condition, pthread_mutex_t* mutex);
int __wrap_pthread_cond_timedwait(pthread_cond_t* condition, pthread_mutex_t* mutex, const timespec* deadline);
int __wrap_pthread_cond_clockwait(pthread_cond_t* condition, pthread_mutex_t* mutex, clockid_t clock,
                                  const timespec* deadline);
int __wrap_pthread_cond_signal(pthread_cond_t* condition);
int __wrap_pthread_cond_broadcast(pthread_cond_t* condition);
int __wrap_gettimeofday(timeval* now, void* zone);
int __wrap_usleep(useconds_t time);

// std::condition_variable and std::thread, whose own code is in the C++ library's shared object.
#define CONDITION_WAIT(prefix) prefix##_ZNSt18condition_variable4waitERSt11unique_lockISt5mutexE
#define CONDITION_NOTIFY_ALL(prefix) prefix##_ZNSt18condition_variable10notify_allEv
#define THREAD_START(prefix) \
    prefix##_ZNSt6thread15_M_start_threadESt10unique_ptrINS_6_StateESt14default_deleteIS1_EEPFvvE
#define THREAD_JOIN(prefix) prefix##_ZNSt6thread4joinEv
void CONDITION_WAIT(__real_)(std::condition_variable* condition, std::unique_lock<std::mutex>& lock);
void CONDITION_WAIT(__wrap_)(std::condition_variable* condition, std::unique_lock<std::mutex>& lock);
void CONDITION_NOTIFY_ALL(__real_)(std::condition_variable* condition);
void CONDITION_NOTIFY_ALL(__wrap_)(std::condition_variable* condition);
void THREAD_START(__real_)(std::thread* thread, std::unique_ptr<std::thread::_State> state, void (*depend)());
void THREAD_START(__wrap_)(std::thread* thread, std::unique_ptr<std::thread::_State> state, void (*depend)());
void THREAD_JOIN(__real_)(std::thread* thread);
void THREAD_JOIN(__wrap_)(std::thread* thread);
}

#if defined(__SANITIZE_THREAD__)
#define SEES_RACES 1
#elif defined(__has_feature)
#if __has_feature(thread_sanitizer)
#define SEES_RACES 1
#endif
#endif
#ifdef SEES_RACES
extern "C" {
void AnnotateIgnoreSyncBegin(const char* file, int line);
void AnnotateIgnoreSyncEnd(const char* file, int line);
void AnnotateIgnoreReadsBegin(const char* file, int line);
void AnnotateIgnoreReadsEnd(const char* file, int line);
void AnnotateIgnoreWritesBegin(const char* file, int line);
void AnnotateIgnoreWritesEnd(const char* file, int line);
}
#endif

namespace {

/// While it lives, ThreadSanitizer does not see what this thread does. It would take the order of the turns for an
/// order that the program itself makes, and find no race any more.
class Unseen {
public:
#ifdef SEES_RACES
    Unseen() {
        AnnotateIgnoreSyncBegin(__FILE__, __LINE__);
        AnnotateIgnoreReadsBegin(__FILE__, __LINE__);
        AnnotateIgnoreWritesBegin(__FILE__, __LINE__);
    }
    ~Unseen() {
        AnnotateIgnoreWritesEnd(__FILE__, __LINE__);
        AnnotateIgnoreReadsEnd(__FILE__, __LINE__);
        AnnotateIgnoreSyncEnd(__FILE__, __LINE__);
    }
#else
    Unseen() {}
    ~Unseen() {}
#endif
    Unseen(const Unseen&) = delete;
    Unseen& operator=(const Unseen&) = delete;
};

using Microseconds = Turns::Microseconds;

constexpr Microseconds kForEver = Microseconds::max();
constexpr Microseconds kLongestWait = std::chrono::hours(1);  // of the thread that made the turns

/// One thread that takes part. Whoever has the turn may read and write all of them.
struct Player {
    Player() { sem_init(&turn, 0, 0); }
    ~Player() { sem_destroy(&turn); }
    Player(const Player&) = delete;
    Player& operator=(const Player&) = delete;

    sem_t turn;                     ///< posted when it has the turn
    const void* awaited = nullptr;  ///< the mutex, condition or player that it waits for
    Microseconds due = kForEver;    ///< when it wakes by itself
    Microseconds asleepSince{0};
    uint64_t order = 0;  ///< counts all who ever fell asleep
    bool woken = false;  ///< by somebody, and not by the clock
    bool gone = false;
    pthread_t handle{};  ///< of a std::thread
};

struct Game {
    std::function<void()> whenStuck;
    std::list<Player> players;  // the first is the one that made the game
    std::deque<Player*> ready;
    Microseconds now{0};
    uint64_t sleeps = 0;
};

Game* game = nullptr;
thread_local Player* self = nullptr;

[[noreturn]] void ReportStuck() {
    fprintf(stderr, "The threads wait for each other.\n");
    game->whenStuck();
    abort();
}

void MakeReady(Player& player, bool woken) {
    player.woken = woken;
    player.awaited = nullptr;
    player.due = kForEver;
    game->ready.push_back(&player);
}

bool WakesEarlier(const Player& one, const Player& other) {
    return one.due != other.due ? one.due < other.due : one.order < other.order;
}

Player& NextPlayer() {
    if (game->ready.empty()) {
        Player& first = *std::min_element(game->players.begin(), game->players.end(), WakesEarlier);
        if (first.due == kForEver || game->now - game->players.front().asleepSince > kLongestWait) {
            ReportStuck();
        }
        game->now = std::max(game->now, first.due);
        MakeReady(first, /*woken=*/false);
    }
    Player& next = *game->ready.front();
    game->ready.pop_front();
    return next;
}

void AwaitTurn(Player& player) {
    while (sem_wait(&player.turn) != 0) {
    }
}

/// The calling thread lets the others go on until it is woken or due. True when it was woken before.
bool Rest(const void* awaited, Microseconds due) {
    const Unseen unseen;
    self->awaited = awaited;
    self->due = due;
    self->asleepSince = game->now;
    self->order = ++game->sleeps;
    Player& me = *self;
    Player& next = NextPlayer();
    if (&next != &me) {
        sem_post(&next.turn);
        AwaitTurn(me);
    }
    return me.woken;
}

/// The first one who waits for it, in the order in which they fell asleep.
bool WakeOne(const void* awaited) {
    const Unseen unseen;
    Player* found = nullptr;
    for (Player& player : game->players) {
        if (player.awaited == awaited && (found == nullptr || player.order < found->order)) {
            found = &player;
        }
    }
    if (found != nullptr) {
        MakeReady(*found, /*woken=*/true);
    }
    return found != nullptr;
}

void WakeAll(const void* awaited) {
    const Unseen unseen;
    while (WakeOne(awaited)) {
    }
}

int Lock(pthread_mutex_t* mutex) {
    int result = pthread_mutex_trylock(mutex);
    while (result == EBUSY) {
        Rest(mutex, kForEver);
        result = pthread_mutex_trylock(mutex);
    }
    return result;
}

int Unlock(pthread_mutex_t* mutex) {
    const int result = __real_pthread_mutex_unlock(mutex);
    WakeOne(mutex);
    return result;
}

int Wait(pthread_cond_t* condition, pthread_mutex_t* mutex, Microseconds due) {
    Unlock(mutex);
    const bool woken = Rest(condition, due);
    Lock(mutex);
    return woken ? 0 : ETIMEDOUT;
}

Player& Join() {
    const Unseen unseen;
    game->players.emplace_back();
    game->ready.push_back(&game->players.back());
    return game->players.back();
}

/// The player who joined last does not come.
void Forget() {
    const Unseen unseen;
    game->ready.pop_back();
    game->players.pop_back();
}

void NoteHandle(Player& player, pthread_t handle) {
    const Unseen unseen;
    player.handle = handle;
}

void AwaitEnd(pthread_t handle) {
    const Unseen unseen;
    const auto same = [&](const Player& one) { return pthread_equal(one.handle, handle) != 0; };
    // The latest one: handles are used again.
    const auto player = std::find_if(game->players.rbegin(), game->players.rend(), same);
    while (!player->gone) {
        Rest(&*player, kForEver);
    }
}

void Begin(Player& player) {
    const Unseen unseen;
    self = &player;
    AwaitTurn(player);
}

void Leave() {
    const Unseen unseen;
    self->gone = true;
    WakeAll(self);
    self = nullptr;
    sem_post(&NextPlayer().turn);
}

struct Body {
    Player& player;
    void* (*run)(void*);
    void* argument;
};

void* RunBody(void* pointer) {
    const std::unique_ptr<Body> body(static_cast<Body*>(pointer));
    Begin(body->player);
    void* const result = body->run(body->argument);
    Leave();
    return result;
}

/// What std::thread runs, within a player's turns.
struct TakingPart : std::thread::_State {
    TakingPart(Player& who, std::unique_ptr<std::thread::_State> what) : player(who), body(std::move(what)) {}
    void _M_run() override {
        Begin(player);
        body->_M_run();
        Leave();
    }

    Player& player;
    std::unique_ptr<std::thread::_State> body;
};

Microseconds FromTimespec(const timespec& time) {
    return std::chrono::seconds(time.tv_sec) + Microseconds(time.tv_nsec / 1000);
}

}  // namespace

Turns::Turns(std::function<void()> whenStuck) {
    game = new Game;
    game->whenStuck = std::move(whenStuck);
    game->players.emplace_back();
    self = &game->players.back();
}

Turns::~Turns() {
    const Unseen unseen;
    if (std::any_of(std::next(game->players.begin()), game->players.end(),
                    [](const Player& one) { return !one.gone; })) {
        fprintf(stderr, "Turns: a thread is left\n");
        abort();
    }
    self = nullptr;
    delete std::exchange(game, nullptr);
}

void Turns::Pass(Microseconds time) {
    const Unseen unseen;
    const Microseconds end = game->now + time;
    for (;;) {
        Rest(nullptr, end);
        // Others that are due at the same moment come first, also those that fell asleep later.
        const auto is_due = [&](const Player& one) { return one.due <= end; };
        if (game->ready.empty() && std::none_of(game->players.begin(), game->players.end(), is_due)) {
            return;
        }
    }
}

Microseconds Turns::Now() {
    const Unseen unseen;
    return game->now;
}

int __wrap_pthread_create(pthread_t* thread, const pthread_attr_t* attributes, void* (*body)(void*), void* argument) {
    if (self == nullptr) {
        return __real_pthread_create(thread, attributes, body, argument);
    }
    auto own = std::make_unique<Body>(Body{Join(), body, argument});
    const int result = __real_pthread_create(thread, attributes, RunBody, own.get());
    if (result != 0) {
        Forget();
        return result;
    }
    own.release();
    return 0;
}

int __wrap_pthread_mutex_lock(pthread_mutex_t* mutex) {
    return self == nullptr ? __real_pthread_mutex_lock(mutex) : Lock(mutex);
}

int __wrap_pthread_mutex_unlock(pthread_mutex_t* mutex) {
    return self == nullptr ? __real_pthread_mutex_unlock(mutex) : Unlock(mutex);
}

int __wrap_pthread_cond_wait(pthread_cond_t* condition, pthread_mutex_t* mutex) {
    return self == nullptr ? __real_pthread_cond_wait(condition, mutex) : Wait(condition, mutex, kForEver);
}

int __wrap_pthread_cond_timedwait(pthread_cond_t* condition, pthread_mutex_t* mutex, const timespec* deadline) {
    if (self == nullptr) {
        return __real_pthread_cond_timedwait(condition, mutex, deadline);
    }
    const bool counts = mutex == &TimeMutex.tMutex;
    return Wait(condition, mutex, counts ? FromTimespec(*deadline) : kForEver);
}

int __wrap_pthread_cond_clockwait(pthread_cond_t* condition, pthread_mutex_t* mutex, clockid_t clock,
                                  const timespec* deadline) {
    return self == nullptr ? __real_pthread_cond_clockwait(condition, mutex, clock, deadline)
                           : Wait(condition, mutex, kForEver);
}

int __wrap_pthread_cond_signal(pthread_cond_t* condition) {
    if (self == nullptr) {
        return __real_pthread_cond_signal(condition);
    }
    WakeOne(condition);
    return 0;
}

int __wrap_pthread_cond_broadcast(pthread_cond_t* condition) {
    if (self == nullptr) {
        return __real_pthread_cond_broadcast(condition);
    }
    WakeAll(condition);
    return 0;
}

int __wrap_gettimeofday(timeval* now, void* zone) {
    if (self == nullptr) {
        return __real_gettimeofday(now, zone);
    }
    const Microseconds time = Turns::Now();
    now->tv_sec = static_cast<decltype(now->tv_sec)>(time.count() / 1000000);
    now->tv_usec = static_cast<decltype(now->tv_usec)>(time.count() % 1000000);
    return 0;
}

int __wrap_usleep(useconds_t time) {
    if (self == nullptr) {
        return __real_usleep(time);
    }
    Rest(nullptr, Turns::Now() + Microseconds(time));
    return 0;
}

void CONDITION_WAIT(__wrap_)(std::condition_variable* condition, std::unique_lock<std::mutex>& lock) {
    if (self == nullptr) {
        CONDITION_WAIT(__real_)(condition, lock);
        return;
    }
    Wait(condition->native_handle(), lock.mutex()->native_handle(), kForEver);
}

void CONDITION_NOTIFY_ALL(__wrap_)(std::condition_variable* condition) {
    if (self == nullptr) {
        CONDITION_NOTIFY_ALL(__real_)(condition);
        return;
    }
    WakeAll(condition->native_handle());
}

void THREAD_START(__wrap_)(std::thread* thread, std::unique_ptr<std::thread::_State> state, void (*depend)()) {
    if (self == nullptr) {
        THREAD_START(__real_)(thread, std::move(state), depend);
        return;
    }
    Player& player = Join();
    THREAD_START(__real_)(thread, std::make_unique<TakingPart>(player, std::move(state)), depend);
    NoteHandle(player, thread->native_handle());
}

void THREAD_JOIN(__wrap_)(std::thread* thread) {
    if (self == nullptr) {
        THREAD_JOIN(__real_)(thread);
        return;
    }
    AwaitEnd(thread->native_handle());
    THREAD_JOIN(__real_)(thread);
}
