// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "norvexdata/Export.h"
#include "platform/kernel/Synchronization.h"

// Coordinates the check thread with the user interface: a stop/continue event, a change-floor event, the mutex of the
// result-writing step, a cancel flag, and slots in which the check service keeps its threads. Starts and stops no
// thread.
//
// Each set operation makes its object when there is none yet; the first set of one object must not race with another
// first set of it. Waits have no time-out. A reset of an object that was never made does nothing, and a wait on it
// returns at once. The objects are never closed. Flag and slots are plain variables that callers serialise.
class NORVEXDATA_API CThreadManagement {
  public:
    // The user's wish to cancel. Keeps its value from run to run until it is set again.
    static void SetIsUserCancle(bool cancel);
    static bool GetIsUserCancle();

    // Signalled: the worker may continue; reset: it blocks in its wait.
    static void SetStopContinueEvent();
    static void ResetStopContinueEvent();
    static void WaitForStopContinueEvent();

    // The same for the step from one floor to the next.
    static void SetChangeFloorEvent();
    static void ResetChangeFloorEvent();
    static void WaitForChangeFloorEvent();

    // A mutex under the names of an event: the wait takes it, and the thread that took it lets the next one in by the
    // set. A set by any other thread does nothing.
    static void SetWriteResultEvent();
    // Does nothing.
    static void ResetWriteResultEvent();
    static void WaitForWriteResultEvent();

    // Written and read by callers alone: the running check thread, its id, and an earlier one that has not finished.
    static HANDLE s_cRunningThread;
    static DWORD s_cRunningThreadId;
    static bool s_bUserCancleCheck;
    static HANDLE s_cPreNoDoneThread;

    static HANDLE s_hStopSignal;
    static HANDLE s_hChangeFloorSignal;
    // Never made and never used here.
    static HANDLE s_hWriteResultSignal;
    static HANDLE s_hWaitResultMutex;
};
