// SPDX-License-Identifier: Apache-2.0
#include "platform/xml/TagScanner.h"

#include <algorithm>
#include <array>
#include <iterator>

namespace norvex::xml {

namespace {

// What is no tag: how it begins behind its '<', and how it ends.
struct Other {
    std::u16string_view opening;
    std::u16string_view end;
};
constexpr std::array kOthers{Other{u"!--", u"-->"}, Other{u"![CDATA[", u"]]>"}, Other{u"?", u"?>"}};

}  // namespace

bool TagScanner::Read(std::u16string_view units) {
    for (std::size_t at = 0; at < units.size(); ++at) {
        if (m_place == Place::Outside) {
            const std::size_t next = std::min(units.find(u'<', at), units.size());
            m_line += static_cast<int>(std::ranges::count(units.substr(at, next - at), u'\n'));
            at = next;
            if (at == units.size()) {
                return true;
            }
        }
        m_line += units[at] == u'\n' ? 1 : 0;
        Step(units[at]);
        if (m_attributes > kMaxAttributes) {
            return false;
        }
    }
    return true;
}

void TagScanner::Step(char16_t unit) {
    switch (m_place) {
        case Place::Value:
            m_place = unit == m_quote ? Place::Tag : Place::Value;
            return;
        case Place::Other:
            std::shift_left(std::begin(m_last), std::end(m_last), 1);
            m_last[2] = unit;
            if (std::u16string_view(m_last, std::size(m_last)).ends_with(m_end)) {
                m_place = Place::Outside;
            }
            return;
        case Place::Tag:
            StepInTag(unit);
            return;
        case Place::Outside:
            // Only a '<' is handed over outside.
            m_place = Place::Tag;
            m_attributes = 0;
            m_openingSize = 0;
            return;
    }
}

void TagScanner::StepInTag(char16_t unit) {
    // A '<' in a tag is no part of it: in a document type, declarations and comments stand within one another.
    if (unit == u'<') {
        m_attributes = 0;
        m_openingSize = 0;
        return;
    }
    if (m_openingSize < std::size(m_opening)) {
        m_opening[m_openingSize++] = unit;
        const std::u16string_view opening(m_opening, m_openingSize);
        const auto other = std::ranges::find(kOthers, opening, &Other::opening);
        if (other != kOthers.end()) {
            m_place = Place::Other;
            m_end = other->end;
            std::ranges::fill(m_last, u'\0');
            return;
        }
    }
    if (unit == u'>') {
        m_place = Place::Outside;
    } else if (unit == u'"' || unit == u'\'') {
        m_place = Place::Value;
        m_quote = unit;
    } else if (unit == u'=') {
        ++m_attributes;
    }
}

}  // namespace norvex::xml
