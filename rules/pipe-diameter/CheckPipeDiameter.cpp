// SPDX-License-Identifier: Apache-2.0
#include <cmath>
#include <vector>

#include "norvexdata/config/CheckPipeDiameterConfigParser.h"
#include "sdk/rule/Joints.h"
#include "sdk/rule/Rule.h"

namespace {

using norvex::rule::Context;
using norvex::rule::EntitiesOf;
using norvex::rule::Joints;
using norvex::rule::NominalDiameterOf;
using norvex::rule::Quoted;
using norvex::rule::WhereClause;

// Nominal diameters are whole steps of 2 mm and more; what is nearer was only rounded.
constexpr double kDiameterTolerance = 0.5;
// How often the service hears of the progress: small against what it takes to cancel, large against its cost.
constexpr int kProgressStep = 256;

CString MismatchSentence(const ZrOwEntity& attachment, const std::vector<ZrOwEntity*>& pipes, const CString& floor,
                         const std::vector<ZrOwEntity*>& objects) {
    CString joined;
    for (const ZrOwEntity* pipe : pipes) {
        joined.AppendFormat(u"%s%s (DN%g)", joined.IsEmpty() ? CString() : CString(u" and "), Quoted(*pipe),
                            NominalDiameterOf(*pipe));
    }
    CString sentence;
    sentence.Format(
        u"%s has DN%g, but what it is mounted in has another diameter: %s, %s. Exchange it for one that "
        u"fits, or put a reducer between.",
        Quoted(attachment), NominalDiameterOf(attachment), joined, WhereClause(objects, floor));
    return sentence;
}

// Specialties for which the configuration names something; without any, those whose pipes carry a medium.
std::vector<CString> CheckedSpecialties() {
    CheckPipeDiameterConfigParser parser;
    std::vector<CString> checked;
    for (const CString& specialty :
         {STR_SPEC_WATER, STR_SPEC_FIRE_PROTECTION, STR_SPEC_HVAC, STR_SPEC_ELECTRICAL, STR_SPEC_LOW_VOLTAGE}) {
        if (!parser.GetPipe(specialty).empty()) {
            checked.push_back(specialty);
        }
    }
    return checked.empty() ? std::vector<CString>{STR_SPEC_WATER, STR_SPEC_FIRE_PROTECTION, STR_SPEC_HVAC} : checked;
}

class CCheckPipeDiameter final : public norvex::rule::Rule {
  public:
    CCheckPipeDiameter()
        : Rule({.strName = u"CCheckPipeDiameter",
                .strShortName = u"pipe-diameter",
                .strTitle = u"Diameters of pipes and what is in them",
                .strCategory = STR_CHECK_ATTRIBUTE_PLAUSIBILITY,
                .strVersion = {},
                .vecSpecialties = CheckedSpecialties(),
                .strWhy =
                    u"A valve of another diameter than its pipe cannot be mounted without two reducers that are in "
                    u"no list. A pipe without diameter is missing in every calculation and every quantity.",
                .strHowToFix =
                    u"Exchange the valve, the meter or the pipe for one that fits, or draw the reducer between "
                    u"them. Give a pipe without diameter a NominalDiameter, or a type whose name holds its "
                    u"DN.",
                .strWhat = u"A valve or meter whose nominal diameter is another one than that of a pipe joined to it, "
                           u"and a pipe of which nothing tells the diameter. Pipes of which only the drawn outer "
                           u"diameter is known are not compared.",
                .strSeverity = u"Suspected."}) {}

  private:
    void Run(Context& context) override {
        CheckPipeDiameterConfigParser parser;
        const CategoryMap& entities = context.Entities();
        std::vector<ZrOwEntity*> attachments = EntitiesOf(parser.GetAttachments(context.Specialty()), entities);
        const std::vector<ZrOwEntity*> pipes = EntitiesOf(parser.GetPipe(context.Specialty()), entities);
        context.NotExaminedWithoutPlace(parser.GetAttachments(context.Specialty()));
        context.NotExaminedWithoutPlace(parser.GetPipe(context.Specialty()));
        const int total = static_cast<int>(attachments.size() + pipes.size());
        int done = 0;
        for (ZrOwEntity* pipe : pipes) {
            CheckPipe(context, *pipe);
            if (++done % kProgressStep == 0 && !context.GoOn(done, total)) {
                return;
            }
        }
        const Joints joints(pipes);
        for (ZrOwEntity* attachment : attachments) {
            CheckAttachment(context, *attachment, joints);
            if (++done % kProgressStep == 0 && !context.GoOn(done, total)) {
                return;
            }
        }
    }

    static void CheckPipe(Context& context, ZrOwEntity& pipe) {
        context.Examined(1);
        if (NominalDiameterOf(pipe) > 0.0 || norvex::rule::OuterDiameterOf(pipe) > 0.0) {
            return;
        }
        CString sentence;
        sentence.Format(
            u"Nothing tells the diameter of %s %s: no property, no name and no round section. Give it one, "
            u"or it is missing in every quantity.",
            Quoted(pipe), WhereClause({&pipe}, context.Floor()));
        context.Report(
            {.subCategory = L"管径缺失", .severity = STR_ERR_SUSPECTED, .sentence = sentence, .objects = {&pipe}});
    }

    static void CheckAttachment(Context& context, ZrOwEntity& attachment, const Joints& joints) {
        const double diameter = NominalDiameterOf(attachment);
        if (diameter <= 0.0) {
            context.NotExamined(1, u"the model does not say the diameter of what is mounted in the pipes");
            return;
        }
        const std::vector<ZrOwEntity*> joined = joints.Of(attachment);
        if (joints.IsCrowded(attachment)) {
            context.NotExamined(1, u"more lies around what is mounted in the pipes than can be told apart");
            return;
        }
        context.Examined(1);
        std::vector<ZrOwEntity*> differing;
        for (ZrOwEntity* pipe : joined) {
            const double own = NominalDiameterOf(*pipe);
            if (own > 0.0 && std::abs(own - diameter) > kDiameterTolerance) {
                differing.push_back(pipe);
            }
        }
        if (differing.empty()) {
            return;
        }
        std::vector<ZrOwEntity*> objects{&attachment};
        objects.insert(objects.end(), differing.begin(), differing.end());
        context.Report({.subCategory = STR_PIPE_ATTACHMENT_DIAMETER,
                        .severity = STR_ERR_SUSPECTED,
                        .sentence = MismatchSentence(attachment, differing, context.Floor(), objects),
                        .objects = objects,
                        .repair = STR_PIPE_ATTACHMENT_DIAMETER});
    }
};

}  // namespace

NORVEX_RULE_MODULE(CCheckPipeDiameter)
