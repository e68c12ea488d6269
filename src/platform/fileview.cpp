// File views: a file mapped into memory, copied from without a system call.
//
// A read of a mapped page that lies past the end of its file (because the
// file was cut short after it was mapped) raises SIGBUS, which would end
// the process. A copy from a view therefore runs under a guard: the first
// view installs a SIGBUS handler that knows the range being copied on each
// thread. A fault in that range gets a page of zeros mapped over the
// missing one and marks the copy as failed; the copy then runs to its end
// and the caller reads the file again by other means. Any other SIGBUS
// goes where it went before the handler was installed.
#include <atomic>
#include <csignal>
#include <cstdint>
#include <cstring>
#include <mutex>
#include <sys/mman.h>
#include <unistd.h>

#include "platform/hostcalls.h"
#include "platform/internal.h"

namespace {

// The copy in progress on this thread. Initial-exec: a signal handler must
// not be the first to touch a thread's variables (that may allocate).
__attribute__((tls_model("initial-exec"))) thread_local const char* guardFrom = nullptr;
__attribute__((tls_model("initial-exec"))) thread_local const char* guardTo = nullptr;
__attribute__((tls_model("initial-exec"))) thread_local volatile sig_atomic_t guardHit = 0;

struct sigaction busBefore;
uintptr_t pageSize = 4096;

void onBus(int signal, siginfo_t* info, void* context) {
    const char* at = static_cast<const char*>(info->si_addr);
    if (guardFrom && at >= guardFrom && at < guardTo) {
        void* page = reinterpret_cast<void*>(reinterpret_cast<uintptr_t>(at) & ~(pageSize - 1));
        if (mmap(page, pageSize, PROT_READ, MAP_PRIVATE | MAP_ANONYMOUS | MAP_FIXED, -1, 0) != MAP_FAILED) {
            guardHit = 1;
            return; // the copy reads the zeros and runs on
        }
    }
    if (busBefore.sa_flags & SA_SIGINFO) {
        busBefore.sa_sigaction(signal, info, context);
    } else if (busBefore.sa_handler != SIG_DFL && busBefore.sa_handler != SIG_IGN) {
        busBefore.sa_handler(signal);
    } else {
        // The disposition from before, and the fault again: it now ends the
        // process as it would have without us.
        sigaction(SIGBUS, &busBefore, nullptr);
    }
}

void installGuard() {
    static std::once_flag once;
    std::call_once(once, [] {
        const long size = sysconf(_SC_PAGESIZE);
        if (size > 0) pageSize = static_cast<uintptr_t>(size);
        struct sigaction action;
        memset(&action, 0, sizeof action);
        action.sa_sigaction = onBus;
        sigemptyset(&action.sa_mask);
        action.sa_flags = SA_SIGINFO | SA_NODEFER;
        sigaction(SIGBUS, &action, &busBefore);
    });
}

} // namespace

bool kvMapView(int fd, size_t size, FileView& view) {
    view = FileView();
    if (size == 0) {
        errno = EINVAL;
        return false;
    }
    installGuard();
    void* data = hostMapToRead(fd, size);
    if (data == MAP_FAILED) return false;
    view.data = static_cast<const char*>(data);
    view.size = size;
    return true;
}

void kvUnmapView(FileView& view) {
    if (view.data) kvHost.munmap(const_cast<char*>(view.data), view.size);
    view = FileView();
}

bool kvCopyFromView(const FileView& view, size_t offset, char* out, size_t size) {
    guardHit = 0;
    guardFrom = view.data + offset;
    guardTo = view.data + offset + size;
    std::atomic_signal_fence(std::memory_order_seq_cst);
    memcpy(out, view.data + offset, size);
    std::atomic_signal_fence(std::memory_order_seq_cst);
    guardFrom = guardTo = nullptr;
    return !guardHit;
}
