// SPDX-License-Identifier: Apache-2.0
#include "rules/pipe-loop/LoopTable.h"

#include "norvexdata/state/Vocabulary.h"

namespace norvex::pipe_loop {

LoopTable BuiltInLoopTable() {
    const CString pipe = L"管道";
    return {
        {STR_SPEC_WATER, STR_CATEGORY_PIPELINE, pipe, STR_ERR_SUSPECTED,
         u"Water supply branches and drainage should be trees: check whether a pipe is drawn twice or joins two "
         u"branches."},
        {STR_SPEC_FIRE_PROTECTION, STR_CATEGORY_PIPELINE, pipe, STR_ERR_REMIND,
         u"Fire mains may be rings: check that this one is meant to be."},
        {STR_SPEC_HVAC, STR_CATEGORY_PIPELINE, pipe, STR_ERR_REMIND,
         u"Heating and cooling pipes may be rings: check that this one is meant to be."},
    };
}

}  // namespace norvex::pipe_loop
