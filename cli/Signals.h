// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "service/work/RunControl.h"

// What signals do to norvex. Interrupt, termination and hang-up count as one kind; a hang-up that is ignored from
// outside stays ignored.

namespace norvex::cli {

// From now on one of them ends the process at once: with a sentence, without unfinished files, as kIncomplete.
void EndOnSignals();

// From now on the first of them cancels the run, and the next one ends the process as above. The terminal's stop
// signal suspends the run, SIGUSR1 pauses it and SIGUSR2 continues it. The control must live as long as the process.
void ControlBySignals(service::RunControl& control);

}  // namespace norvex::cli
