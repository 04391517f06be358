// SPDX-License-Identifier: MIT
// What `Process` promises an audio thread unless a rebuild is pending: no allocation, no lock, no call of the
// system, no exception.
#include <gtest/gtest.h>

#include <cxxabi.h>
#include <dlfcn.h>
#include <linux/seccomp.h>
#include <malloc.h>
#include <pthread.h>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <limits>
#include <mutex>
#include <shared_mutex>
#include <stdexcept>
#include <string>
#include <type_traits>

#include "tests/CReducer.h"
#include "tests/GroupReducer.h"
#include "tests/Signals.h"
#include "tests/StreamInspector.h"

namespace {

bool isWatching = false;
std::string seen; // the names of what was called

void Note(const char *name) {
    if (!isWatching)
        return;
    isWatching = false; // what a note does itself does not count
    seen.append(name).append(" ");
    isWatching = true;
}

template <class Call>
std::string SeenDuring(Call call) {
    seen.clear();
    isWatching = true;
    call();
    isWatching = false;
    return seen;
}

} // namespace

// Each takes the place of the C or C++ library's own throughout the program, its shared libraries included,
// and goes on to it.
// NOLINTBEGIN(bugprone-macro-parentheses): types, names and lists of parameters take none.
#define QUIETFLOOR_WATCH_AS(Result, name, parameters, call)                                                  \
    Result name parameters {                                                                                 \
        Note(#name);                                                                                         \
        return call;                                                                                         \
    }
#define QUIETFLOOR_WATCH(Result, name, parameters, arguments)                                                \
    QUIETFLOOR_WATCH_AS(Result, name, parameters,                                                            \
                        (reinterpret_cast<Result(*) parameters>(dlsym(RTLD_NEXT, #name)) arguments))
// NOLINTEND(bugprone-macro-parentheses)

#pragma GCC visibility push(default)
extern "C" {
// dlsym may call these, so they go on to names of their own.
void *__libc_malloc(std::size_t);
void *__libc_calloc(std::size_t, std::size_t);
void *__libc_realloc(void *, std::size_t);
void *__libc_memalign(std::size_t, std::size_t);
void __libc_free(void *);

QUIETFLOOR_WATCH_AS(void *, malloc, (std::size_t bytes), __libc_malloc(bytes))
QUIETFLOOR_WATCH_AS(void *, calloc, (std::size_t n, std::size_t bytes), __libc_calloc(n, bytes))
QUIETFLOOR_WATCH_AS(void *, realloc, (void *block, std::size_t bytes), __libc_realloc(block, bytes))
QUIETFLOOR_WATCH_AS(void *, memalign, (std::size_t step, std::size_t n), __libc_memalign(step, n))
QUIETFLOOR_WATCH_AS(void *, aligned_alloc, (std::size_t step, std::size_t n), __libc_memalign(step, n))
QUIETFLOOR_WATCH_AS(int, posix_memalign, (void **block, std::size_t step, std::size_t n),
                    (*block = __libc_memalign(step, n), 0))
QUIETFLOOR_WATCH_AS(void, free, (void *block), __libc_free(block))
QUIETFLOOR_WATCH(void *, mremap, (void *at, std::size_t from, std::size_t to, int flags, ...) noexcept,
                 (at, from, to, flags))
QUIETFLOOR_WATCH(void *, mmap, (void *at, std::size_t n, int p, int flags, int file, off_t offset),
                 (at, n, p, flags, file, offset))
QUIETFLOOR_WATCH(int, munmap, (void *at, std::size_t bytes), (at, bytes))
QUIETFLOOR_WATCH(int, brk, (void *end), (end))
QUIETFLOOR_WATCH(void *, sbrk, (std::intptr_t step), (step))
QUIETFLOOR_WATCH(ssize_t, write, (int file, const void *bytes, std::size_t count), (file, bytes, count))
QUIETFLOOR_WATCH(ssize_t, read, (int file, void *bytes, std::size_t count), (file, bytes, count))
QUIETFLOOR_WATCH(int, pthread_mutex_lock, (pthread_mutex_t * mutex), (mutex))
QUIETFLOOR_WATCH(int, pthread_mutex_trylock, (pthread_mutex_t * mutex), (mutex))
QUIETFLOOR_WATCH(int, pthread_rwlock_rdlock, (pthread_rwlock_t * lock), (lock))
QUIETFLOOR_WATCH(int, pthread_rwlock_wrlock, (pthread_rwlock_t * lock), (lock))
QUIETFLOOR_WATCH(int, pthread_once, (pthread_once_t * once, void (*call)()), (once, call))
QUIETFLOOR_WATCH(int, rand, (), ()) // takes a lock of the C library's own
QUIETFLOOR_WATCH(int, __cxa_guard_acquire, (__cxxabiv1::__guard * guard), (guard))
QUIETFLOOR_WATCH(void *, __cxa_allocate_exception, (std::size_t bytes), (bytes))
}
#pragma GCC visibility pop

namespace {

// Blocks of many lengths, and between them every parameter that asks for no rebuild, and the other estimator.
template <class Subject>
void Stream(Subject &subject, Samples &x) {
    int block = 1;
    for (std::size_t at = 0; at + 1021 <= x.size(); at += static_cast<std::size_t>(block)) {
        for (int index = 0; index < Reducer::kParamCount; ++index)
            if (index != Reducer::kFftSize && index != Reducer::kFilterMode && block % 3 == 0)
                subject.SetParameter(index, static_cast<float>((block + index) % 60));
        subject.SetEstimator(estimators[at / 10'000 % 2]);
        subject.Process(x.data() + at, x.data() + at, block);
        block = block * 7 % 1021;
    }
}

// What takes every turn of the noise engine: it learns, loses the sound in silence, and learns anew.
Samples Turns(std::size_t count) {
    Samples x = WhiteNoise(count, -40);
    const std::size_t part = count / 5;
    std::fill_n(x.begin() + static_cast<std::ptrdiff_t>(2 * part), part, 0.0f);
    for (std::size_t i = 3 * part; i < 4 * part; ++i)
        x[i] *= i % 2 == 0 ? 100 : std::numeric_limits<float>::quiet_NaN();
    return x;
}

// Under strict seccomp any call of the system but read, write and exit kills the process, and writing
// to what nobody reads does, too.
template <class Call>
int SignalUnderSeccomp(Call call) {
    std::fflush(nullptr); // or the child writes what is left to write here
    const pid_t child = fork();
    if (child == 0) {
        int ends[2] = {};
        if (pipe(ends) != 0 || close(ends[0]) != 0 || dup2(ends[1], 1) != 1 || dup2(ends[1], 2) != 2)
            std::abort();
        std::setvbuf(stdout, nullptr, _IONBF, 0);
        prctl(PR_SET_SECCOMP, SECCOMP_MODE_STRICT);
        call();
        syscall(SYS_exit, 0);
    }
    int status = -1;
    EXPECT_EQ(waitpid(child, &status, 0), child);
    return WIFEXITED(status) && WEXITSTATUS(status) == 0 ? 0 : WTERMSIG(status);
}

template <class Subject>
void ExpectQuiet() {
    for (int size = 64; size <= 16384; size *= 2)
        for (const float filterMode : {0.0f, 1.0f}) {
            Subject subject;
            subject.SetParameter(Reducer::kFftSize, static_cast<float>(size));
            subject.SetParameter(Reducer::kFilterMode, filterMode);
            if constexpr (!std::is_same_v<Subject, GroupReducer>)
                subject.SetSampleRate(8000);
            subject.Resume();
            if constexpr (std::is_same_v<Subject, GroupReducer>) {
                EXPECT_EQ(SeenDuring([&] { subject.PushLeadIn(); }), "");
            }
            if constexpr (std::is_same_v<Subject, Reducer>) {
                auto &record = dsp::StreamInspector::Record(subject);
                record.compander =
                    quietfloor::BuildLevelCompander({.ratio = 0.5}, subject.GetLatency(), size / 8);
            }
            Samples x = Turns(static_cast<std::size_t>(80'000 + 4 * size)), again = x;
            EXPECT_EQ(SeenDuring([&] { Stream(subject, x); }), "") << size << filterMode;
            EXPECT_EQ(SignalUnderSeccomp([&] { Stream(subject, again); }), 0) << size << filterMode;
            EXPECT_EQ(SeenDuring([&] { subject.SetParameter(Reducer::kFftSize, 700); }), "");
            EXPECT_EQ(SeenDuring([&] { subject.SetParameter(Reducer::kFilterMode, 1); }), "");
        }
}

TEST(RealTime, TheObjectIsQuiet) { ExpectQuiet<Reducer>(); }
TEST(RealTime, TheCInterfaceIsQuiet) { ExpectQuiet<CReducer>(); }
TEST(RealTime, TheGroupIsQuiet) { ExpectQuiet<GroupReducer>(); }

void *volatile block = nullptr; // volatile, or the compiler leaves pairs of calls out

void *Kept(void *made) {
    block = made;
    return block;
}

// Every watch sees what it is for, a call within the C++ library too.
TEST(RealTime, TheWatchSees) {
    static constexpr std::align_val_t line{64};
    static pthread_mutex_t mutex = PTHREAD_MUTEX_INITIALIZER;
    static std::shared_mutex shared;
    static std::once_flag flag;
    const std::pair<const char *, void (*)()> calls[] = {
        {"malloc", [] { block = std::malloc(1); }},
        {"realloc", [] { block = std::realloc(block, 99); }},
        {"free", [] { std::free(block); }},
        {"calloc", [] { std::free(Kept(std::calloc(1, 1))); }},
        {"memalign", [] { std::free(Kept(memalign(64, 64))); }},
        {"aligned_alloc", [] { std::free(Kept(std::aligned_alloc(64, 64))); }},
        {"posix_memalign",
         [] {
             void *b;
             std::free(posix_memalign(&b, 64, 64) == 0 ? b : nullptr);
         }},
        {"malloc free", [] { operator delete(Kept(operator new(1))); }},
        {"malloc free", [] { operator delete[](Kept(operator new[](1, std::nothrow))); }},
        {"aligned_alloc free", [] { operator delete(Kept(operator new(1, line)), line); }},
        {"mmap", [] { block = mmap(nullptr, 64, PROT_READ, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0); }},
        {"mremap", [] { block = mremap(block, 64, 8192, MREMAP_MAYMOVE); }},
        {"munmap", [] { munmap(block, 8192); }},
        {"sbrk", [] { block = sbrk(0); }},
        {"brk", [] { EXPECT_EQ(brk(block), 0); }},
        {"write", [] { EXPECT_EQ(write(-1, nullptr, 0), -1); }},
        {"read", [] { EXPECT_EQ(read(-1, nullptr, 0), -1); }},
        {"pthread_mutex_lock", [] { pthread_mutex_lock(&mutex); }},
        {"pthread_mutex_trylock", [] { EXPECT_NE(pthread_mutex_trylock(&mutex), 0); }},
        {"pthread_rwlock_rdlock", [] { const std::shared_lock lock(shared); }},
        {"pthread_rwlock_wrlock", [] { const std::unique_lock lock(shared); }},
        {"pthread_once", [] { std::call_once(flag, [] {}); }},
        {"rand", [] { EXPECT_GE(std::rand(), 0); }},
        {"__cxa_guard_acquire",
         [] {
             static void *const once = Kept(nullptr);
             EXPECT_EQ(once, nullptr);
         }},
        {"__cxa_allocate_exception", [] { EXPECT_ANY_THROW(throw 1); }},
        {"__cxa_allocate_exception", [] { EXPECT_ANY_THROW(Samples().at(1) = 0); }}};
    for (const auto &[names, call] : calls)
        EXPECT_NE(SeenDuring(call).find(names), std::string::npos) << names << ": " << seen;
    EXPECT_EQ(SignalUnderSeccomp([] { syscall(SYS_getppid); }), SIGKILL);
    EXPECT_EQ(SignalUnderSeccomp([] { std::printf("."); }), SIGPIPE);
}

} // namespace
