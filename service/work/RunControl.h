// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <atomic>

#include "service/work/Descriptor.h"

namespace norvex::service {

// What the user wishes of a run while it is under way. The wishes may be made on any thread and in signal handlers, and
// before the run; whoever drives the run reads them. Made and destroyed while nobody uses it.
class RunControl {
  public:
    RunControl();
    RunControl(const RunControl&) = delete;
    RunControl& operator=(const RunControl&) = delete;

    // Ends the run soon and for good; what was found is kept.
    void Cancel() { Wish(m_isCancelled, true); }
    bool IsCancelled() const { return m_isCancelled; }

    // Makes the checks wait until Continue.
    void Pause() { Wish(m_isPaused, true); }
    void Continue() { Wish(m_isPaused, false); }
    bool IsPaused() const { return m_isPaused; }

    // Pauses, and then stops the process itself until somebody continues it, as job control of a shell wants it.
    void Suspend() { Wish(m_isSuspended, true); }
    // True once for a suspension that was wished; for the driver of the run.
    bool TakeSuspension() { return m_isSuspended.exchange(false); }

    // From now on a floor is only begun when NextFloor lets it; floors under way go on to their end.
    void HoldFloors() { Wish(m_areFloorsHeld, true); }
    void NextFloor();
    void ReleaseFloors();
    bool AreFloorsHeld() const { return m_areFloorsHeld; }
    // True when one more of the floors that wait may begin; the permission is used up by that.
    bool TakeFloor();

    // Can be read from when a wish was made since the last ClearNews.
    int News() const { return m_news.Number(); }
    void ClearNews();

  private:
    void Wish(std::atomic<bool>& wish, bool value) {
        wish = value;
        Tell();
    }
    void Tell();

    static_assert(std::atomic<bool>::is_always_lock_free && std::atomic<int>::is_always_lock_free,
                  "A signal handler may only touch lock-free atomics.");
    std::atomic<bool> m_isCancelled{false};
    std::atomic<bool> m_isPaused{false};
    std::atomic<bool> m_isSuspended{false};
    std::atomic<bool> m_areFloorsHeld{false};
    std::atomic<int> m_floorsToLetIn{0};
    work::Descriptor m_news;
};

}  // namespace norvex::service
