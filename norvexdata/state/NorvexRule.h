// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <vector>

#include "platform/arx/AcGe.h"
#include "platform/text/CString.h"

// What rule modules and the check service tell each other about rules and findings. Text is wide here, unlike in the
// older records: names out of a model need not exist in code page 936, and a finding must not lose them.
//
// A rule module and the service agree on all of this at once, so they compare kNorvexRuleApiVersion before anything
// else; it grows whenever a record, an operation or their order changes.
inline constexpr int kNorvexRuleApiVersion = 3;

namespace NS_NORVEX {

// What a rule says about itself. Constant for the life of the process.
struct RuleInfo {
    // Identity in trust lists, configuration and results, such as "CCheckPipeLoop".
    CString strName;
    // What people type, such as "pipe-loop": lower-case letters, digits and hyphens.
    CString strShortName;
    // A few words for tables.
    CString strTitle;
    // One of the check kinds of the shared vocabulary; results are counted under it.
    CString strCategory;
    // Four decimal numbers joined by "."; a rule leaves it empty, and its module fills it in.
    CString strVersion = {};
    // Specialties that the rule has something to say about; empty means all.
    std::vector<CString> vecSpecialties = {};
    // For a person, in whole sentences; may be empty: why what the rule finds is a defect, what to do about it, what
    // exactly the rule looks at, and how grave what it finds is.
    CString strWhy = {};
    CString strHowToFix = {};
    CString strWhat = {};
    CString strSeverity = {};
};

// One drawing object of a finding.
struct FindingObject {
    // Handle text, as in location strings.
    CString strHandle;
    // Identity across exports; empty when the object has none.
    CString strGlobalId;
    // The object's own name in the model; may be empty.
    CString strName;
    // The object's component sub-category, which is what trust on a floor names.
    CString strSubCategory;
};

struct Finding {
    // Check kind, and the kind of error in it.
    CString strCategory;
    CString strSubCategory;
    // One of the three severity words.
    CString strSeverity;
    CString strLocation;
    CString strFeatureCode;
    // For a person: what is wrong, where, in whole sentences.
    CString strSentence;
    std::vector<FindingObject> vecObjects;
    // Where to look, in drawing units.
    AcGePoint3d ptPlace;
    bool bHasPlace = false;
    // The user has accepted this finding: it is reported, but not counted.
    bool bTrusted = false;
};

// How one rule's look at one floor and specialty ended, as far as the rule itself can tell. Whether it passed follows
// from what it examined and reported.
enum RuleEnd : std::int32_t {
    eRuleDone = 0,
    // The service asked it to stop.
    eRuleCancelled = 1,
    // The whole rule is trusted, so that nothing was looked at.
    eRuleTrusted = 2,
    // It could not finish; strReason says why.
    eRuleCrashed = 3
};

struct RuleResult {
    RuleEnd eEnd = eRuleDone;
    // Entities that were looked at.
    int iExamined = 0;
    // Entities that belong to the rule but could not be looked at; strReason says why.
    int iNotExamined = 0;
    CString strReason;
};

}  // namespace NS_NORVEX

// One rule. Implemented by rule modules (sdk/rule/Rule.h does most of it), called by the service on the check thread.
class INorvexRule {
  public:
    // Good for the life of the process.
    virtual const NS_NORVEX::RuleInfo& GetInfo() const = 0;
    // Looks at the current floor and specialty and reports what it finds to the service. Never throws.
    virtual void Check(NS_NORVEX::RuleResult& result) = 0;

  protected:
    INorvexRule() = default;
    INorvexRule(const INorvexRule&) = default;
    INorvexRule& operator=(const INorvexRule&) = default;
    // Nobody deletes a rule through this interface.
    ~INorvexRule() = default;
};
