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
    floors_ = {};
    for (const auto& [floor, subCategories] : view_.Parameters(Utf8(rule), Utf8(specialty))) {
        NS_NORVEX::ComponentInfo record;
        record.strName = Narrow(ModuleFloorName(floor));
        for (const std::string& each : subCategories) {
            record.aryItems.append(Narrow(each));
        }
        floors_.append(record);
    }
    return floors_;
}

bool RunTrust::IsFindingTrusted(const std::string& featureCode) {
    return view_.IsFindingTrusted(featureCode);
}

}  // namespace norvex::service::store
