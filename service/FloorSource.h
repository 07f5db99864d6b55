// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <map>
#include <vector>

#include "platform/arx/AcDbDatabase.h"
#include "platform/text/CString.h"
#include "service/RunReport.h"

namespace norvex::service {

// The floors of a model, each of them a drawing of its own. Whoever runs a check opens one at a time.
class FloorSource {
  public:
    virtual ~FloorSource() = default;
    // In the order in which they are to be checked. Names are unique and not empty.
    virtual const std::vector<FloorRecord>& Floors() const = 0;
    // Attribute-name paths of all elements of the model, each once, in ascending order.
    virtual const std::vector<CString>& Paths() const = 0;
    // Elements of a floor that are not in its drawing, because the model says no place for them: how many, by path.
    virtual std::map<CString, int> WithoutPlace(std::size_t /*floor*/) const { return {}; }
    // The drawing of a floor, filled; the source owns it. Good until the next call.
    virtual AcDbDatabase& Open(std::size_t floor) = 0;
};

}  // namespace norvex::service
