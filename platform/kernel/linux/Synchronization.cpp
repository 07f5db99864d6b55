// SPDX-License-Identifier: Apache-2.0
#include "platform/kernel/Synchronization.h"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <mutex>
#include <new>
#include <vector>

namespace {

class Event;
class Mutex;

// What a handle points to. Every object hangs in one list for the life of the process: nothing closes it, and what a
// caller forgets is still not lost.
class KernelObject {
  public:
    KernelObject() : m_next(s_objects.load(std::memory_order_relaxed)) {
        while (!s_objects.compare_exchange_weak(m_next, this, std::memory_order_release, std::memory_order_relaxed)) {
        }
    }
    KernelObject(const KernelObject&) = delete;
    KernelObject& operator=(const KernelObject&) = delete;

    virtual DWORD Wait(DWORD milliseconds) = 0;
    virtual Event* AsEvent() { return nullptr; }
    virtual Mutex* AsMutex() { return nullptr; }

  protected:
    ~KernelObject() = default;

    // Waits on the object's condition until it is ready. Returns false when the time-out passed first.
    template <typename Ready>
    static bool WaitUntil(std::condition_variable& condition, std::unique_lock<std::mutex>& lock, DWORD milliseconds,
                          Ready ready) {
        if (milliseconds == INFINITE) {
            condition.wait(lock, ready);
            return true;
        }
        return condition.wait_for(lock, std::chrono::milliseconds(milliseconds), ready);
    }

  private:
    static std::atomic<KernelObject*> s_objects;
    KernelObject* m_next;
};

std::atomic<KernelObject*> KernelObject::s_objects = nullptr;

class Event final : public KernelObject {
  public:
    Event(bool manualReset, bool signalled) : m_manualReset(manualReset), m_signalled(signalled) {}

    void Set() {
        const std::lock_guard lock(m_lock);
        m_signalled = true;
        ++m_generation;
        if (m_manualReset) {
            m_condition.notify_all();
        } else {
            m_condition.notify_one();
        }
    }

    void Reset() {
        const std::lock_guard lock(m_lock);
        m_signalled = false;
    }

    DWORD Wait(DWORD milliseconds) override {
        std::unique_lock lock(m_lock);
        // A set since this wait began releases it, whether or not the event is still signalled when it runs again.
        const std::uint64_t generation = m_generation;
        const auto ready = [&] { return m_signalled || (m_manualReset && m_generation != generation); };
        if (!WaitUntil(m_condition, lock, milliseconds, ready)) {
            return WAIT_TIMEOUT;
        }
        if (!m_manualReset) {
            m_signalled = false;
        }
        return WAIT_OBJECT_0;
    }

    Event* AsEvent() override { return this; }

  private:
    const bool m_manualReset;
    std::mutex m_lock;
    std::condition_variable m_condition;
    bool m_signalled;
    std::uint64_t m_generation = 0;  // how often the event was set
};

// What a thread owns. Its address tells threads apart; when the thread ends, what it still owns is abandoned.
class ThreadOwnership {
  public:
    ThreadOwnership() = default;
    ThreadOwnership(const ThreadOwnership&) = delete;
    ThreadOwnership& operator=(const ThreadOwnership&) = delete;
    ~ThreadOwnership();

    void Add(Mutex* mutex) { m_owned.push_back(mutex); }
    void Remove(Mutex* mutex) { std::erase(m_owned, mutex); }

  private:
    std::vector<Mutex*> m_owned;
};

ThreadOwnership& CurrentThread() {
    thread_local ThreadOwnership ownership;
    return ownership;
}

class Mutex final : public KernelObject {
  public:
    explicit Mutex(bool owned) {
        if (owned) {
            Take(CurrentThread());
        }
    }

    DWORD Wait(DWORD milliseconds) override {
        ThreadOwnership& self = CurrentThread();
        std::unique_lock lock(m_lock);
        if (m_owner == &self) {
            ++m_count;
            return WAIT_OBJECT_0;
        }
        if (!WaitUntil(m_condition, lock, milliseconds, [&] { return m_owner == nullptr; })) {
            return WAIT_TIMEOUT;
        }
        Take(self);
        const DWORD result = m_abandoned ? WAIT_ABANDONED : WAIT_OBJECT_0;
        m_abandoned = false;
        return result;
    }

    bool Release() {
        ThreadOwnership& self = CurrentThread();
        const std::lock_guard lock(m_lock);
        if (m_owner != &self) {
            return false;
        }
        if (--m_count == 0) {
            self.Remove(this);
            GiveUp();
        }
        return true;
    }

    // Called by the owner as it ends.
    void Abandon() {
        const std::lock_guard lock(m_lock);
        m_abandoned = true;
        m_count = 0;
        GiveUp();
    }

    Mutex* AsMutex() override { return this; }

  private:
    void Take(ThreadOwnership& owner) {
        owner.Add(this);
        m_owner = &owner;
        m_count = 1;
    }
    void GiveUp() {
        m_owner = nullptr;
        m_condition.notify_one();
    }

    std::mutex m_lock;
    std::condition_variable m_condition;
    const ThreadOwnership* m_owner = nullptr;
    std::uint64_t m_count = 0;  // waits of the owner that it has not released
    bool m_abandoned = false;
};

ThreadOwnership::~ThreadOwnership() {
    for (Mutex* mutex : m_owned) {
        mutex->Abandon();
    }
}

KernelObject* ObjectOf(HANDLE handle) {
    return handle == INVALID_HANDLE_VALUE ? nullptr : static_cast<KernelObject*>(handle);
}

Event* EventOf(HANDLE handle) {
    KernelObject* object = ObjectOf(handle);
    return object == nullptr ? nullptr : object->AsEvent();
}

Mutex* MutexOf(HANDLE handle) {
    KernelObject* object = ObjectOf(handle);
    return object == nullptr ? nullptr : object->AsMutex();
}

}  // namespace

HANDLE CreateEventW(const SECURITY_ATTRIBUTES* attributes, BOOL manualReset, BOOL signalled, LPCWSTR name) {
    if (attributes != nullptr || name != nullptr) {
        return nullptr;
    }
    return static_cast<KernelObject*>(new (std::nothrow) Event(manualReset != 0, signalled != 0));
}

BOOL SetEvent(HANDLE event) {
    Event* object = EventOf(event);
    if (object == nullptr) {
        return false;
    }
    object->Set();
    return true;
}

BOOL ResetEvent(HANDLE event) {
    Event* object = EventOf(event);
    if (object == nullptr) {
        return false;
    }
    object->Reset();
    return true;
}

HANDLE CreateMutexW(const SECURITY_ATTRIBUTES* attributes, BOOL owned, LPCWSTR name) {
    if (attributes != nullptr || name != nullptr) {
        return nullptr;
    }
    return static_cast<KernelObject*>(new (std::nothrow) Mutex(owned != 0));
}

BOOL ReleaseMutex(HANDLE mutex) {
    Mutex* object = MutexOf(mutex);
    return object != nullptr && object->Release();
}

DWORD WaitForSingleObject(HANDLE object, DWORD milliseconds) {
    KernelObject* waited = ObjectOf(object);
    return waited == nullptr ? WAIT_FAILED : waited->Wait(milliseconds);
}
