// SPDX-License-Identifier: Apache-2.0
#include "rules/pipe-loop/LoopTable.h"

#include <map>
#include <set>

#include "norvexdata/config/ConfigParser.h"
#include "norvexdata/config/NorvexConfig.h"
#include "norvexdata/state/Vocabulary.h"

namespace norvex::pipe_loop {
namespace {

using Group = std::map<CString, std::set<CString>>;

// The severity word under a name of the group; empty when there is none.
CString WordUnder(const Group& severities, const CString& name) {
    if (const auto found = severities.find(name); found != severities.end()) {
        for (const CString& word : {STR_ERR_CONFIRMED, STR_ERR_SUSPECTED, STR_ERR_REMIND}) {
            if (found->second.count(word) != 0) {
                return word;
            }
        }
    }
    return CString();
}

CString SeverityOf(const Group& severities, const LoopRow& row) {
    const CString category = row.specialty + u"\\" + row.category;
    for (const CString& name : {category + u"\\" + row.subCategory, category, row.specialty}) {
        if (const CString word = WordUnder(severities, name); !word.IsEmpty()) {
            return word;
        }
    }
    return STR_ERR_SUSPECTED;
}

}  // namespace

LoopTable BuiltInLoopTable() {
    const CString pipe = L"管道";
    return {{STR_SPEC_WATER, STR_CATEGORY_PIPELINE, pipe, STR_ERR_SUSPECTED},
            {STR_SPEC_FIRE_PROTECTION, STR_CATEGORY_PIPELINE, pipe, STR_ERR_REMIND},
            {STR_SPEC_HVAC, STR_CATEGORY_PIPELINE, pipe, STR_ERR_REMIND}};
}

LoopTable LoopTableOf(const CString& specialty) {
    LoopTable rows;
    const boost::shared_ptr<ConfigData> section = NorvexConfig::Instance().GetCoinfigData(u"CCheckPipeLoop");
    if (section == nullptr) {
        for (const LoopRow& row : BuiltInLoopTable()) {
            if (row.specialty == specialty) {
                rows.push_back(row);
            }
        }
        return rows;
    }
    const ConfigParser parser(section);
    const Group severities = parser.CheckItems(u"severity");
    for (const auto& [category, subCategories] : parser.CheckItems(specialty)) {
        for (const CString& subCategory : subCategories) {
            LoopRow row{specialty, category, subCategory, CString()};
            row.severity = SeverityOf(severities, row);
            rows.push_back(row);
        }
    }
    return rows;
}

std::vector<CString> CheckedSpecialties() {
    const boost::shared_ptr<ConfigData> section = NorvexConfig::Instance().GetCoinfigData(u"CCheckPipeLoop");
    std::vector<CString> checked;
    for (const CString& specialty :
         {STR_SPEC_WATER, STR_SPEC_FIRE_PROTECTION, STR_SPEC_HVAC, STR_SPEC_ELECTRICAL, STR_SPEC_LOW_VOLTAGE}) {
        // Not the rows: a "*" in the section gives none before a project is open.
        const bool isChecked =
            section == nullptr ? !LoopTableOf(specialty).empty() : !ConfigParser(section).CheckItems(specialty).empty();
        if (isChecked) {
            checked.push_back(specialty);
        }
    }
    return checked;
}

}  // namespace norvex::pipe_loop
