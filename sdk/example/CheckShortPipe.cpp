// SPDX-License-Identifier: Apache-2.0
#include <platform/zrow/ZrOwLines.h>
#include <sdk/rule/Describe.h>
#include <sdk/rule/Rule.h>

// Millimetres. Nobody cuts and joins a piece of pipe this short.
constexpr double kShortest = 30.0;

class CCheckShortPipe : public norvex::rule::Rule {
  public:
    CCheckShortPipe()
        : Rule({.strName = u"CCheckShortPipe",
                .strShortName = u"short-pipe",
                .strTitle = u"Pipes too short to be built",
                .strCategory = STR_CHECK_MODEL_PLAUSIBILITY,
                .vecSpecialties = {STR_SPEC_WATER, STR_SPEC_FIRE_PROTECTION, STR_SPEC_HVAC},
                .strWhy = u"A piece of pipe of a few millimetres is left over from drawing.",
                .strHowToFix = u"Delete it and join its neighbours.",
                .strWhat = u"Pipes shorter than 30 mm.",
                .strSeverity = u"A reminder."}) {}

  private:
    void Run(norvex::rule::Context& context) override {
        const CString subCategory = L"管道";
        const std::vector<ZrOwEntity*> pipes = context.Entities(STR_CATEGORY_PIPELINE, subCategory);
        context.NotExaminedWithoutPlace({{STR_CATEGORY_PIPELINE, {subCategory}}});
        for (std::size_t i = 0; i < pipes.size(); ++i) {
            if (!context.GoOn(static_cast<int>(i), static_cast<int>(pipes.size()))) {
                return;
            }
            const ZrOwPolyLine* pipe = ZrOwPolyLine::cast(pipes[i]);
            if (pipe == nullptr || pipe->GetLength() <= 0.0) {
                context.NotExamined(1, u"the model does not say how long they are");
                continue;
            }
            context.Examined(1);
            if (pipe->GetLength() < kShortest) {
                CString sentence;
                sentence.Format(u"%s is only %.0f mm long, %s.", norvex::rule::Quoted(*pipes[i]), pipe->GetLength(),
                                norvex::rule::WhereClause({pipes[i]}, context.Floor()));
                context.Report({L"管道过短", STR_ERR_REMIND, sentence, {pipes[i]}});
            }
        }
    }
};

NORVEX_RULE_MODULE(CCheckShortPipe)
