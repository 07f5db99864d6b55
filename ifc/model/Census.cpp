// SPDX-License-Identifier: Apache-2.0
#include "ifc/model/Census.h"

#include <algorithm>
#include <unordered_set>

namespace norvex::ifc {

namespace {

using part21::Value;
using part21::ValueCursor;
using part21::ValueKind;

// Returns: the proxies that a port or a system belongs to.
std::unordered_set<std::uint32_t> UsedProxies(const Access& access, const Census& census) {
    std::unordered_set<std::uint32_t> used;
    const auto note = [&](const Value& value) {
        const std::uint32_t index = access.Follow(value);
        if (access.RoleOf(index) == Role::Proxy) {
            used.insert(index);
        }
    };
    for (const std::uint32_t relation : census.portToElement) {
        note(access.Argument(relation, 5));
    }
    for (const std::uint32_t relation : census.nests) {
        ValueCursor nested = Members(access.Argument(relation, 5));
        if (access.RoleOf(access.Follow(nested.Next())) == Role::Port) {
            note(access.Argument(relation, 4));
        }
    }
    for (const std::uint32_t relation : census.toGroup) {
        const Role role = access.RoleOf(access.Follow(access.Argument(relation, 6)));
        if (role != Role::System && role != Role::Circuit) {
            continue;
        }
        ValueCursor members = Members(access.Argument(relation, 4));
        for (Value one = members.Next(); one.kind != ValueKind::Missing; one = members.Next()) {
            note(one);
        }
    }
    return used;
}

}  // namespace

Census TakeCensus(const Access& access) {
    Census census;
    std::vector<std::uint32_t> proxies;
    const part21::ExchangeFile& file = access.File();
    for (std::uint32_t index = 0; index < file.InstanceCount(); ++index) {
        const Role role = access.Info(index).role;
        if (role == Role::Ignored || role == Role::TypeObject || file.Find(file.Id(index)) != index) {
            continue;
        }
        switch (role) {
            case Role::Element:
                census.elements.push_back(index);
                break;
            case Role::Proxy:
                proxies.push_back(index);
                break;
            case Role::Product:
                ++census.otherProducts;
                break;
            case Role::Port:
                census.ports.push_back(index);
                break;
            case Role::Storey:
                census.storeys.push_back(index);
                break;
            case Role::Project:
                census.project = census.project == part21::kNoInstance ? index : census.project;
                break;
            case Role::System:
            case Role::Circuit:
                census.systems.push_back(index);
                break;
            case Role::RelAggregates:
                census.aggregates.push_back(index);
                break;
            case Role::RelNests:
                census.nests.push_back(index);
                break;
            case Role::RelContained:
                census.contained.push_back(index);
                break;
            case Role::RelReferenced:
                census.referenced.push_back(index);
                break;
            case Role::RelByType:
                census.byType.push_back(index);
                break;
            case Role::RelByProperties:
                census.byProperties.push_back(index);
                break;
            case Role::RelConnectsPorts:
                census.connectsPorts.push_back(index);
                break;
            case Role::RelPortToElement:
                census.portToElement.push_back(index);
                break;
            case Role::RelToGroup:
                census.toGroup.push_back(index);
                break;
            default:
                break;
        }
    }
    if (!proxies.empty()) {
        const std::unordered_set<std::uint32_t> used = UsedProxies(access, census);
        for (const std::uint32_t proxy : proxies) {
            if (used.contains(proxy)) {
                census.elements.push_back(proxy);
            } else {
                ++census.otherProducts;
            }
        }
    }
    const auto byNumber = [&](std::uint32_t a, std::uint32_t b) { return file.Id(a) < file.Id(b); };
    // Most exporters write instances in the order of their numbers.
    if (!std::is_sorted(census.elements.begin(), census.elements.end(), byNumber)) {
        std::sort(census.elements.begin(), census.elements.end(), byNumber);
    }
    return census;
}

}  // namespace norvex::ifc
