// SPDX-License-Identifier: Apache-2.0
// A shared library that stands between a program and the C library and lets chosen calls fail. Linked into a test, or
// preloaded into a program (LD_PRELOAD) that finds its plan in the file named by NORVEX_FAULTS.
#include <dlfcn.h>
#include <fcntl.h>
#include <poll.h>
#include <pthread.h>
#include <sys/file.h>
#include <sys/mman.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/time.h>
#include <sys/uio.h>
#include <unistd.h>

#include <cerrno>
#include <cstdarg>
#include <cstdlib>
#include <ctime>

#include "Faults.h"

using norvex::test::Call;
using norvex::test::FaultPlan;
using norvex::test::FaultState;

// What glibc exports so that an allocator can be put in front of its own.
extern "C" {
void* __libc_malloc(std::size_t size) noexcept;
void* __libc_calloc(std::size_t count, std::size_t size) noexcept;
void* __libc_realloc(void* memory, std::size_t size) noexcept;
void* __libc_memalign(std::size_t alignment, std::size_t size) noexcept;
void __libc_free(void* memory) noexcept;
}

// Is called when a call is about to fail. It does nothing: a debugger that stops here shows who made the call.
extern "C" __attribute__((noinline)) void norvex_fault_struck() noexcept {
    asm volatile("");
}

namespace {

FaultState* s_state = nullptr;

// The first constructor of all: other libraries' constructors already call what stands here.
__attribute__((constructor(101))) void Prepare() {
    void* page = MAP_FAILED;
    if (const char* path = std::getenv("NORVEX_FAULTS")) {
        const int descriptor = open(path, O_RDWR | O_CLOEXEC);
        if (descriptor >= 0) {
            page = mmap(nullptr, sizeof(FaultState), PROT_READ | PROT_WRITE, MAP_SHARED, descriptor, 0);
            close(descriptor);
        }
    } else {
        page = mmap(nullptr, sizeof(FaultState), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
    }
    if (page != MAP_FAILED) {
        s_state = static_cast<FaultState*>(page);
        if (std::getenv("NORVEX_FAULTS") == nullptr) {
            s_state->plan = FaultPlan();
        }
    }
}

// Counts the call. Returns whether it is to fail.
bool Fails(Call call) noexcept {
    if (s_state == nullptr) {
        return false;
    }
    const std::uint64_t number = s_state->calls[static_cast<std::size_t>(call)].fetch_add(1) + 1;
    const FaultPlan& plan = s_state->plan;
    if (plan.call != call || number < plan.from || number - plan.from >= plan.times ||
        (number - plan.from) % plan.every != 0) {
        return false;
    }
    s_state->failed.fetch_add(1);
    norvex_fault_struck();
    return true;
}

bool IsPartial() noexcept {
    return s_state->plan.error == 0;
}

// Counts the call. Returns whether it is to fail, having set errno.
bool FailsWithError(Call call) noexcept {
    if (!Fails(call)) {
        return false;
    }
    errno = IsPartial() ? EIO : s_state->plan.error;
    return true;
}

bool FailsToAllocate() noexcept {
    if (!Fails(Call::Allocate)) {
        return false;
    }
    errno = ENOMEM;
    return true;
}

void* Counted(void* memory) noexcept {
    if (memory != nullptr && s_state != nullptr) {
        s_state->live.fetch_add(1);
    }
    return memory;
}

// The C library's own function of that name.
template <typename Function>
Function Next(const char* name) noexcept {
    return reinterpret_cast<Function>(dlsym(RTLD_NEXT, name));
}

// Half of a length, as a call that was cut short would have done; never nothing of something.
std::size_t Half(std::size_t length) noexcept {
    return length < 2 ? length : length / 2;
}

bool IsForWriting(int flags) noexcept {
    return (flags & O_ACCMODE) != O_RDONLY;
}

}  // namespace

#define NORVEX_NEXT(name) static const auto next = Next<decltype(&name)>(#name)

extern "C" {

FaultState* norvex_fault_state() noexcept {
    return s_state;
}

// ---- Memory ----

void* malloc(std::size_t size) noexcept {
    return FailsToAllocate() ? nullptr : Counted(__libc_malloc(size));
}

void* calloc(std::size_t count, std::size_t size) noexcept {
    return FailsToAllocate() ? nullptr : Counted(__libc_calloc(count, size));
}

void* realloc(void* memory, std::size_t size) noexcept {
    if (size != 0 && FailsToAllocate()) {
        return nullptr;
    }
    void* const moved = __libc_realloc(memory, size);
    if (s_state != nullptr) {
        s_state->live.fetch_add((memory == nullptr && moved != nullptr ? 1 : 0) -
                                (memory != nullptr && size == 0 ? 1 : 0));
    }
    return moved;
}

void* memalign(std::size_t alignment, std::size_t size) noexcept {
    return FailsToAllocate() ? nullptr : Counted(__libc_memalign(alignment, size));
}

void* aligned_alloc(std::size_t alignment, std::size_t size) noexcept {
    return memalign(alignment, size);
}

int posix_memalign(void** memory, std::size_t alignment, std::size_t size) noexcept {
    *memory = memalign(alignment, size);
    return *memory == nullptr ? ENOMEM : 0;
}

void free(void* memory) noexcept {
    if (memory != nullptr && s_state != nullptr) {
        s_state->live.fetch_sub(1);
    }
    __libc_free(memory);
}

// ---- Files ----

#define NORVEX_OPEN(name)                                                                        \
    int name(const char* path, int flags, ...) {                                                 \
        NORVEX_NEXT(name);                                                                       \
        std::va_list arguments;                                                                  \
        va_start(arguments, flags);                                                              \
        const auto mode = (flags & (O_CREAT | O_TMPFILE)) != 0 ? va_arg(arguments, mode_t) : 0;  \
        va_end(arguments);                                                                       \
        return IsForWriting(flags) && FailsWithError(Call::Open) ? -1 : next(path, flags, mode); \
    }
NORVEX_OPEN(open)
NORVEX_OPEN(open64)

#define NORVEX_OPENAT(name)                                                                              \
    int name(int folder, const char* path, int flags, ...) {                                             \
        NORVEX_NEXT(name);                                                                               \
        std::va_list arguments;                                                                          \
        va_start(arguments, flags);                                                                      \
        const auto mode = (flags & (O_CREAT | O_TMPFILE)) != 0 ? va_arg(arguments, mode_t) : 0;          \
        va_end(arguments);                                                                               \
        return IsForWriting(flags) && FailsWithError(Call::Open) ? -1 : next(folder, path, flags, mode); \
    }
NORVEX_OPENAT(openat)
NORVEX_OPENAT(openat64)

// A call that moves bytes: it fails, does half of it, or all.
#define NORVEX_TRANSFER(name, call, Buffer, rest, arguments)               \
    ssize_t name(int descriptor, Buffer buffer, std::size_t length rest) { \
        NORVEX_NEXT(name);                                                 \
        if (Fails(call)) {                                                 \
            if (!IsPartial()) {                                            \
                errno = s_state->plan.error;                               \
                return -1;                                                 \
            }                                                              \
            length = Half(length);                                         \
        }                                                                  \
        return next(descriptor, buffer, length arguments);                 \
    }
#define NORVEX_COMMA ,
NORVEX_TRANSFER(read, Call::Read, void*, , )
NORVEX_TRANSFER(write, Call::Write, const void*, , )
NORVEX_TRANSFER(pread, Call::Read, void*, NORVEX_COMMA off_t offset, NORVEX_COMMA offset)
NORVEX_TRANSFER(pread64, Call::Read, void*, NORVEX_COMMA off64_t offset, NORVEX_COMMA offset)
NORVEX_TRANSFER(pwrite, Call::Write, const void*, NORVEX_COMMA off_t offset, NORVEX_COMMA offset)
NORVEX_TRANSFER(pwrite64, Call::Write, const void*, NORVEX_COMMA off64_t offset, NORVEX_COMMA offset)
NORVEX_TRANSFER(recv, Call::Read, void*, NORVEX_COMMA int flags, NORVEX_COMMA flags)
NORVEX_TRANSFER(send, Call::Write, const void*, NORVEX_COMMA int flags, NORVEX_COMMA flags)

ssize_t writev(int descriptor, const iovec* parts, int count) {
    NORVEX_NEXT(writev);
    if (Fails(Call::Write)) {
        if (!IsPartial()) {
            errno = s_state->plan.error;
            return -1;
        }
        count = static_cast<int>(Half(static_cast<std::size_t>(count)));
    }
    return next(descriptor, parts, count);
}

int fsync(int descriptor) {
    NORVEX_NEXT(fsync);
    return FailsWithError(Call::Sync) ? -1 : next(descriptor);
}
int fdatasync(int descriptor) {
    NORVEX_NEXT(fdatasync);
    return FailsWithError(Call::Sync) ? -1 : next(descriptor);
}
int ftruncate(int descriptor, off_t length) noexcept {
    NORVEX_NEXT(ftruncate);
    return FailsWithError(Call::Resize) ? -1 : next(descriptor, length);
}
int ftruncate64(int descriptor, off64_t length) noexcept {
    NORVEX_NEXT(ftruncate64);
    return FailsWithError(Call::Resize) ? -1 : next(descriptor, length);
}
int posix_fallocate(int descriptor, off_t begin, off_t length) {
    NORVEX_NEXT(posix_fallocate);
    return FailsWithError(Call::Resize) ? errno : next(descriptor, begin, length);
}
int rename(const char* from, const char* to) noexcept {
    NORVEX_NEXT(rename);
    return FailsWithError(Call::Rename) ? -1 : next(from, to);
}
int renameat2(int fromFolder, const char* from, int toFolder, const char* to, unsigned flags) noexcept {
    NORVEX_NEXT(renameat2);
    return FailsWithError(Call::Rename) ? -1 : next(fromFolder, from, toFolder, to, flags);
}
int link(const char* from, const char* to) noexcept {
    NORVEX_NEXT(link);
    return FailsWithError(Call::Rename) ? -1 : next(from, to);
}
int linkat(int fromFolder, const char* from, int toFolder, const char* to, int flags) noexcept {
    NORVEX_NEXT(linkat);
    return FailsWithError(Call::Rename) ? -1 : next(fromFolder, from, toFolder, to, flags);
}
int unlink(const char* path) noexcept {
    NORVEX_NEXT(unlink);
    return FailsWithError(Call::Remove) ? -1 : next(path);
}
int mkdir(const char* path, mode_t mode) noexcept {
    NORVEX_NEXT(mkdir);
    return FailsWithError(Call::MakeFolder) ? -1 : next(path, mode);
}
int flock(int descriptor, int operation) noexcept {
    NORVEX_NEXT(flock);
    return FailsWithError(Call::Lock) ? -1 : next(descriptor, operation);
}

// ---- Processes ----

pid_t fork() noexcept {
    NORVEX_NEXT(fork);
    return FailsWithError(Call::Fork) ? -1 : next();
}
int pthread_create(pthread_t* thread, const pthread_attr_t* attributes, void* (*run)(void*), void* argument) noexcept {
    NORVEX_NEXT(pthread_create);
    return FailsWithError(Call::Thread) ? EAGAIN : next(thread, attributes, run, argument);
}
int pipe(int ends[2]) noexcept {
    NORVEX_NEXT(pipe);
    return FailsWithError(Call::Pipe) ? -1 : next(ends);
}
int pipe2(int ends[2], int flags) noexcept {
    NORVEX_NEXT(pipe2);
    return FailsWithError(Call::Pipe) ? -1 : next(ends, flags);
}
int socketpair(int domain, int type, int protocol, int ends[2]) noexcept {
    NORVEX_NEXT(socketpair);
    return FailsWithError(Call::Pipe) ? -1 : next(domain, type, protocol, ends);
}
int socket(int domain, int type, int protocol) noexcept {
    NORVEX_NEXT(socket);
    return FailsWithError(Call::Socket) ? -1 : next(domain, type, protocol);
}
int poll(pollfd* descriptors, nfds_t count, int timeout) {
    NORVEX_NEXT(poll);
    return FailsWithError(Call::Poll) ? -1 : next(descriptors, count, timeout);
}
int ppoll(pollfd* descriptors, nfds_t count, const timespec* timeout, const sigset_t* signals) {
    NORVEX_NEXT(ppoll);
    return FailsWithError(Call::Poll) ? -1 : next(descriptors, count, timeout, signals);
}

// ---- Time ----

int clock_gettime(clockid_t clock, timespec* now) noexcept {
    NORVEX_NEXT(clock_gettime);
    const int result = next(clock, now);
    if (result == 0 && clock == CLOCK_REALTIME && s_state != nullptr) {
        now->tv_sec += s_state->clockAhead;
    }
    return result;
}
std::time_t time(std::time_t* out) noexcept {
    timespec now{};
    clock_gettime(CLOCK_REALTIME, &now);
    if (out != nullptr) {
        *out = now.tv_sec;
    }
    return now.tv_sec;
}

}  // extern "C"
