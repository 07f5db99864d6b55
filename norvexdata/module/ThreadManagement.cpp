// SPDX-License-Identifier: Apache-2.0
#include "norvexdata/module/ThreadManagement.h"

HANDLE CThreadManagement::s_cRunningThread = nullptr;
DWORD CThreadManagement::s_cRunningThreadId = 0;
bool CThreadManagement::s_bUserCancleCheck = false;
HANDLE CThreadManagement::s_cPreNoDoneThread = nullptr;
HANDLE CThreadManagement::s_hStopSignal = nullptr;
HANDLE CThreadManagement::s_hChangeFloorSignal = nullptr;
HANDLE CThreadManagement::s_hWriteResultSignal = nullptr;
HANDLE CThreadManagement::s_hWaitResultMutex = nullptr;

namespace {

void SetCreated(HANDLE& event) {
    if (event == nullptr) {
        event = CreateEventW(nullptr, true, false, nullptr);
    }
    SetEvent(event);
}

}  // namespace

void CThreadManagement::SetIsUserCancle(bool cancel) {
    s_bUserCancleCheck = cancel;
}

bool CThreadManagement::GetIsUserCancle() {
    return s_bUserCancleCheck;
}

void CThreadManagement::SetStopContinueEvent() {
    SetCreated(s_hStopSignal);
}

void CThreadManagement::ResetStopContinueEvent() {
    ResetEvent(s_hStopSignal);
}

void CThreadManagement::WaitForStopContinueEvent() {
    WaitForSingleObject(s_hStopSignal, INFINITE);
}

void CThreadManagement::SetChangeFloorEvent() {
    SetCreated(s_hChangeFloorSignal);
}

void CThreadManagement::ResetChangeFloorEvent() {
    ResetEvent(s_hChangeFloorSignal);
}

void CThreadManagement::WaitForChangeFloorEvent() {
    WaitForSingleObject(s_hChangeFloorSignal, INFINITE);
}

void CThreadManagement::SetWriteResultEvent() {
    if (s_hWaitResultMutex == nullptr) {
        s_hWaitResultMutex = CreateMutexW(nullptr, false, nullptr);
    }
    ReleaseMutex(s_hWaitResultMutex);
}

void CThreadManagement::ResetWriteResultEvent() {
}

void CThreadManagement::WaitForWriteResultEvent() {
    WaitForSingleObject(s_hWaitResultMutex, INFINITE);
}
