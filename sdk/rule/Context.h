// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <map>
#include <set>
#include <vector>

#include "norvexdata/common/ComMethod.h"
#include "norvexdata/entities/GetZrOwEntityPtrVec.h"
#include "norvexdata/state/NorvexData.h"
#include "norvexdata/state/NorvexRule.h"
#include "norvexdata/state/NorvexService.h"
#include "norvexdata/state/Vocabulary.h"
#include "norvexdata/trust/OwTrustTool.h"
#include "platform/text/CodePage.h"
#include "sdk/rule/Identity.h"

namespace norvex::rule {

// What a rule found. The context adds identity, location and place.
struct Found {
    // The kind of error inside the rule's check kind.
    CString subCategory;
    // One of the three severity words.
    CString severity;
    // For a person: what is wrong and where, in whole sentences.
    CString sentence;
    // The objects concerned, in the order in which they are to be shown. Borrowed from the drawing.
    std::vector<ZrOwEntity*> objects;
    // What the check interface can do about it: one of the repair operations. Empty: it can only be looked at.
    CString repair = {};
};

// One rule's look at one floor and specialty: what there is to examine, and where findings go. Lives for one
// INorvexRule::Check; check thread only.
class Context {
  public:
    Context(const NS_NORVEX::RuleInfo& info, NS_NORVEX::RuleResult& result) : m_info(info), m_result(result) {
        m_trust.Init(info.strName, CNorvexData::s_strCurSpec);
    }
    Context(const Context&) = delete;
    Context& operator=(const Context&) = delete;

    // As people know it.
    CString Floor() const { return CNorvexData::GetNorvexService()->GetFloorTitle(CNorvexData::s_strCurFloor); }
    const CString& Specialty() const { return CNorvexData::s_strCurSpec; }
    const COwTrustTool& Trust() const { return m_trust; }

    // The floor's entities of the specialty that are neither left out of the run nor trusted. Good until the next call.
    const CategoryMap& Entities() const { return CGetZrOwEntityPtrVec::GetInstance()->GetEntityByBigMemMap(m_trust); }

    // Of these, the ones of one sub-category, by detail name and then in the drawing's order.
    std::vector<ZrOwEntity*> Entities(const CString& category, const CString& subCategory) const {
        std::vector<ZrOwEntity*> found;
        const CategoryMap& entities = Entities();
        const auto inCategory = entities.find(category);
        if (inCategory == entities.end()) {
            return found;
        }
        const auto records = inCategory->second.find(subCategory);
        if (records == inCategory->second.end()) {
            return found;
        }
        for (const SAttEntPtr& record : records->second) {
            found.insert(found.end(), record.vecEntPtr.begin(), record.vecEntPtr.end());
        }
        return found;
    }

    // Every rule says how many entities it has looked at: a rule that looked at none has not passed.
    void Examined(int count) { m_result.iExamined += count; }
    // Entities that the rule is about but could not look at. The reason completes "... because".
    void NotExamined(int count, const CString& reason) {
        if (count > 0) {
            m_result.iNotExamined += count;
            if (m_result.strReason.IsEmpty()) {
                m_result.strReason = reason;
            } else if (m_result.strReason.Find(reason) < 0) {
                m_result.strReason += u", or " + reason;
            }
        }
    }

    // The same for what is in no drawing, because the model says no place for it: isMine(category, sub-category, detail
    // name) tells what the rule is about. What is trusted does not count.
    template <class IsMine>
    void NotExaminedWithoutPlace(IsMine isMine) {
        for (const auto& [path, count] : CNorvexData::GetNorvexService()->GetWithoutPlace()) {
            CStringArray parts;
            CComMethod::ExplodeStrAryIncEmpty(parts, path, L'\\');
            if (parts.GetSize() == 4 && parts[0] == Specialty() &&
                !m_trust.IsTrustItem(CNorvexData::s_strCurFloor, parts[2]) && isMine(parts[1], parts[2], parts[3])) {
                NotExamined(count, u"the model does not say where they are");
            }
        }
    }
    // The same for the sub-categories of a group: category to sub-categories.
    void NotExaminedWithoutPlace(const std::map<CString, std::set<CString>>& group) {
        NotExaminedWithoutPlace([&](const CString& category, const CString& subCategory, const CString&) {
            const auto found = group.find(category);
            return found != group.end() && found->second.count(subCategory) != 0;
        });
    }

    // False when the rule is to end now; what it has reported stays. Call it in every long loop.
    bool GoOn(int done, int total) {
        if (!CNorvexData::GetNorvexService()->ReportProgress(done, total)) {
            m_result.eEnd = NS_NORVEX::eRuleCancelled;
        }
        return m_result.eEnd != NS_NORVEX::eRuleCancelled;
    }

    // Reports one finding and counts it, unless the user trusts it.
    void Report(const Found& found) {
        NS_NORVEX::Finding finding;
        finding.strCategory = m_info.strCategory;
        finding.strSubCategory = found.subCategory;
        finding.strSeverity = found.severity;
        finding.strSentence = found.sentence;
        finding.strLocation = LocationOf(found.objects, found.repair);
        finding.strFeatureCode = FeatureCodeOf(m_info, found.subCategory, found.objects);
        finding.vecObjects = ObjectsOf(found.objects);
        finding.bHasPlace = PlaceOf(found.objects, finding.ptPlace);
        finding.bTrusted = m_trust.IsErrorTrusted(text::WideToNarrow(finding.strFeatureCode));
        if (!finding.bTrusted) {
            CNorvexData::AddCheckResultCount(finding.strCategory, finding.strSubCategory, finding.strSeverity, 1, 0);
        }
        CNorvexData::GetNorvexService()->ReportFinding(finding);
    }

  private:
    const NS_NORVEX::RuleInfo& m_info;
    NS_NORVEX::RuleResult& m_result;
    COwTrustTool m_trust;
};

}  // namespace norvex::rule
