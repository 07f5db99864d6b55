// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "ifc/BuildingModel.h"
#include "report/page/PageModel.h"
#include "service/RunReport.h"

#include <deque>
#include <string>
#include <vector>

namespace norvex::report {

// A run as the report page shows it. The page's elements borrow text from the building model, which must live as long.
// Moving it keeps the texts in place.
struct RunPage {
    page::PageModel model;
    std::deque<std::string> handles;  // what the elements' handles point at
};

// `floors` are the floors of the whole building: one for each storey, in their order, then perhaps one for what has no
// storey. A finding's objects are found by their handles; those that the building does not hold are left out.
// A finding that is gone keeps the number that it had in the earlier run, and its objects are found by their GlobalIds.
RunPage MakeRunPage(const service::RunReport& report, const ifc::BuildingModel& building,
                    const std::vector<service::FloorRecord>& floors);

// The same without the building: nothing is drawn, and the page says why. A finding's objects are those that the report
// names, without places. The page borrows text from the report, which must live as long.
RunPage MakeRunPageWithoutPlan(const service::RunReport& report, const std::string& why);

}  // namespace norvex::report
