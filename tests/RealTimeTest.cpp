// What `Process` promises an audio thread: no allocation, no lock, no call of the system.
#include <gtest/gtest.h>

#include <dlfcn.h>
#include <linux/seccomp.h>
#include <pthread.h>
#include <sys/prctl.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>

#include "tests/Signals.h"

namespace {

std::atomic<bool> isWatching = false;
std::atomic<int> forbidden = 0;

void Count() {
    if (isWatching)
        ++forbidden;
}

using LockFunction = int (*)(pthread_mutex_t *);
const auto realLock = reinterpret_cast<LockFunction>(dlsym(RTLD_NEXT, "pthread_mutex_lock"));

} // namespace

// These take the place of the C library's own throughout the program, its shared libraries included.
#pragma GCC visibility push(default)
extern "C" {
void *__libc_malloc(std::size_t);
void *__libc_memalign(std::size_t, std::size_t);
void __libc_free(void *);

void *malloc(std::size_t bytes) {
    Count();
    return __libc_malloc(bytes);
}
void *aligned_alloc(std::size_t alignment, std::size_t bytes) {
    Count();
    return __libc_memalign(alignment, bytes);
}
void free(void *block) {
    Count();
    __libc_free(block);
}
ssize_t write(int file, const void *bytes, std::size_t count) {
    Count();
    return syscall(SYS_write, file, bytes, count);
}
int pthread_mutex_lock(pthread_mutex_t *mutex) {
    Count();
    return realLock != nullptr ? realLock(mutex) : 0; // null only before this program's own start
}
}
#pragma GCC visibility pop

namespace {

// Blocks of many lengths, and between them every parameter that asks for no rebuild.
void Stream(Reducer &reducer, Samples &x) {
    int block = 1;
    for (std::size_t at = 0; at + 1021 <= x.size(); at += static_cast<std::size_t>(block)) {
        for (int index = 0; index < Reducer::kParamCount; ++index)
            if (index != Reducer::kFftSize && index != Reducer::kFilterMode && block % 3 == 0)
                reducer.SetParameter(index, static_cast<float>((block + index) % 60));
        reducer.Process(x.data() + at, x.data() + at, block);
        block = block * 7 % 1021;
    }
}

TEST(RealTime, ProcessNeitherAllocatesNorLocksNorWrites) {
    isWatching = true;
    const Reducer *volatile made = new Reducer; // volatile, or the compiler may leave it all out
    delete made;
    isWatching = false;
    ASSERT_GE(forbidden.exchange(0), 50) << "the watch does not see allocations";
    for (int size = 64; size <= 16384; size *= 2)
        for (const bool filterMode : {false, true}) {
            Reducer reducer;
            Configure(reducer, size, filterMode);
            Samples x = WhiteNoise(static_cast<std::size_t>(80'000 + 4 * size), -40);
            isWatching = true;
            Stream(reducer, x);
            isWatching = false;
            EXPECT_EQ(forbidden.exchange(0), 0) << size << filterMode;
        }
}

// Under strict seccomp any call of the system but read, write and exit kills the process.
TEST(RealTime, ProcessRunsUnderStrictSeccomp) {
    for (const bool filterMode : {false, true}) {
        Reducer reducer;
        Configure(reducer, 512, filterMode);
        Samples x = WhiteNoise(100'000, -40);
        const pid_t child = fork();
        ASSERT_GE(child, 0);
        if (child == 0) {
            prctl(PR_SET_SECCOMP, SECCOMP_MODE_STRICT);
            Stream(reducer, x);
            syscall(SYS_exit, 0);
        }
        int status = 0;
        ASSERT_EQ(waitpid(child, &status, 0), child);
        EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0) << "killed by signal " << WTERMSIG(status);
    }
}

} // namespace
