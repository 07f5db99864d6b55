// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "platform/Export.h"
#include "platform/kernel/KernelTypes.h"

// Events and mutexes with the kernel's semantics. Objects are unnamed, belong to the process and live as long as it:
// there is no way to close one. Every function may be called from any thread; a null handle, or one of the other kind,
// fails at once and changes nothing. Functions that return BOOL return 0 when they fail.

// Security attributes; the stand-in knows the default alone, null.
struct SECURITY_ATTRIBUTES;

inline constexpr DWORD INFINITE = 0xFFFFFFFF;

// Results of a wait: the object was signalled or taken; taken from a thread that ended while it owned it; the time-out
// passed; nothing to wait on.
inline constexpr DWORD WAIT_OBJECT_0 = 0;
inline constexpr DWORD WAIT_ABANDONED = 0x80;
inline constexpr DWORD WAIT_TIMEOUT = 0x102;
inline constexpr DWORD WAIT_FAILED = 0xFFFFFFFF;

// Returns: a new event, or null when it cannot be made, or when attributes or a name are asked for. A manual-reset
// event stays signalled until it is reset; any other one until one wait has ended.
NORVEX_PLATFORM_API HANDLE CreateEventW(const SECURITY_ATTRIBUTES* attributes, BOOL manualReset, BOOL signalled,
                                        LPCWSTR name);
// Signals the event. Every thread that waits on a manual-reset event is released, even when a reset follows before it
// runs again.
NORVEX_PLATFORM_API BOOL SetEvent(HANDLE event);
NORVEX_PLATFORM_API BOOL ResetEvent(HANDLE event);

// Returns: a new mutex, or null as CreateEventW does. The owner may wait on it again and releases it as often as it
// waited. When its owner ends without that, the next thread that waits owns it once.
NORVEX_PLATFORM_API HANDLE CreateMutexW(const SECURITY_ATTRIBUTES* attributes, BOOL owned, LPCWSTR name);
// Fails, and does nothing, for a thread that does not own the mutex.
NORVEX_PLATFORM_API BOOL ReleaseMutex(HANDLE mutex);

// Waits until the event is signalled or the mutex is owned by the calling thread, at most so many milliseconds.
NORVEX_PLATFORM_API DWORD WaitForSingleObject(HANDLE object, DWORD milliseconds);
