// SPDX-License-Identifier: Apache-2.0
#include "norvexdata/state/Vocabulary.h"

// The address of a second compilation unit's own severity word.
const CString* SeverityWordOfOtherUnit() {
    return &STR_ERR_CONFIRMED;
}
