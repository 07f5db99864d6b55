// SPDX-License-Identifier: Apache-2.0
#include "service/store/RunTrust.h"

#include <utility>

#include "platform/text/CodePage.h"
#include "platform/text/Utf8.h"
#include "service/store/FloorNames.h"

namespace norvex::service::store {

namespace {

std::string Utf8(const std::string& narrow) {
    return text::ToUtf8(text::NarrowToWide(narrow));
}

std::string Narrow(const std::string& utf8) {
    return text::WideToNarrow(text::FromUtf8(utf8));
}

}  // namespace

RunTrust::RunTrust(TrustView view) : view_(std::move(view)) {
}

NS_NORVEX::TrustStatus RunTrust::StatusOf(const std::string& rule, const std::string& specialty) {
    return static_cast<NS_NORVEX::TrustStatus>(view_.StatusOf(Utf8(rule), Utf8(specialty)));
}

CZRArray<NS_NORVEX::ComponentInfo>& RunTrust::FloorsOf(const std::string& rule, const std::string& specialty) {
    const auto [answer, isNew] = floors_.try_emplace({rule, specialty});
    if (!isNew) {
        return answer->second;
    }
    const auto parameters = view_.Parameters(Utf8(rule), Utf8(specialty));
    // Left to itself, such an array grows by a few at a time.
    answer->second = CZRArray<NS_NORVEX::ComponentInfo>(static_cast<int>(parameters.size()));
    for (const auto& [floor, subCategories] : parameters) {
        NS_NORVEX::ComponentInfo record;
        record.strName = Narrow(ModuleFloorName(floor));
        record.aryItems = CZRArray<std::string>(static_cast<int>(subCategories.size()));
        for (const std::string& each : subCategories) {
            record.aryItems.append(Narrow(each));
        }
        answer->second.append(record);
    }
    return answer->second;
}

bool RunTrust::IsFindingTrusted(const std::string& featureCode) {
    return view_.IsFindingTrusted(featureCode);
}

}  // namespace norvex::service::store
