// SPDX-License-Identifier: Apache-2.0
#include <sdk/rule/Rule.h>

#include <stdexcept>
#include <string>
#include <vector>

#include <norvexdata/common/ComMethod.h>
#include <norvexdata/config/CheckLayoutFlangConfigParser.h>
#include <norvexdata/config/CheckPipeDiameterConfigParser.h>
#include <norvexdata/config/CheckPipeLinkConfigParser.h>
#include <norvexdata/config/ConfigParser.h>
#include <norvexdata/config/NorvexConfig.h>
#include <norvexdata/entities/EntFindMethod.h>
#include <norvexdata/entities/GetZrOwEntityPtrVec.h>
#include <norvexdata/module/ThreadManagement.h>
#include <norvexdata/pipenet/CheckSearchGraph.h>
#include <norvexdata/state/NorvexData.h>
#include <norvexdata/state/Vocabulary.h>
#include <norvexdata/trust/ErrorFeatureCode.h>
#include <norvexdata/trust/OwTrustTool.h>
#include <platform/zrow/ZrOwLines.h>

// Uses every exported class once. What comes out wrong ends the rule as crashed, with the sentence that says what it
// was.
class CTouchEverything : public norvex::rule::Rule {
  public:
    CTouchEverything()
        : Rule({.strName = u"CTouchEverything",
                .strShortName = u"touch-everything",
                .strTitle = u"Every exported class answers",
                .strCategory = STR_CHECK_MODEL_PLAUSIBILITY,
                .vecSpecialties = {STR_SPEC_WATER, STR_SPEC_HVAC, STR_SPEC_FIRE_PROTECTION}}) {}

  private:
    static void Require(bool holds, const char* what) {
        if (!holds) {
            throw std::runtime_error(what);
        }
    }

    void Run(norvex::rule::Context& context) override {
        State();
        Configuration();
        Common();
        const std::vector<ZrOwEntity*> entities = Entities();
        Networks(entities);
        Trust();
        context.Examined(static_cast<int>(entities.size()));
    }

    static void State() {
        Require(!CNorvexData::s_strCurFloor.IsEmpty(), "CNorvexData: the current floor has no name");
        Require(CNorvexData::GetNorvexService() != nullptr, "CNorvexData: there is no service");
        int errors = 0;
        int checks = 0;
        CNorvexData::GetCheckResultCount(errors, checks);
        CThreadManagement::SetStopContinueEvent();
        CThreadManagement::WaitForStopContinueEvent();
    }

    static void Configuration() {
        const NorvexConfig& config = NorvexConfig::Instance();
        Require(config.GetCoinfigData(u"CNoSuchRule") == nullptr, "NorvexConfig: an unknown rule has a section");
        Require(ConfigParser().CheckItems(u"").empty(), "ConfigParser: no section has items");
        Require(CheckPipeLinkConfigParser().CheckRules().count(u"no such pipe") == 0, "CheckPipeLinkConfigParser");
        Require(CheckPipeDiameterConfigParser().GetPipe(u"no such selector").empty(), "CheckPipeDiameterConfigParser");
        const auto item =
            CheckLayoutFlangConfigParser().GetAttItem(CheckLayoutFlangConfigParser::eWaterbox, u"no such selector");
        Require(item.mapPipe.empty(), "CheckLayoutFlangConfigParser");
    }

    static void Common() {
        Require(CComMethod::GetStrHandle(AcDbHandle(0x2F1)) == u"2F1", "CComMethod: a handle reads differently");
        Require(CComMethod::GetFloorGrade(u"2.5层") == 25, "CComMethod: a floor has another grade");
        const CString code = GetErrorFeatureCode(u"1", u"2", u"3", u"4", u"5", u"6");
        Require(code.GetLength() == 33, "GetErrorFeatureCode: a code has another length");
    }

    static std::vector<ZrOwEntity*> Entities() {
        COwTrustTool trust;
        trust.Init(u"CTouchEverything", u"");
        const CategoryMap& map = CGetZrOwEntityPtrVec::GetInstance()->GetEntityByBigMemMap(trust);
        std::vector<ZrOwEntity*> entities;
        CEntFindMethod::InsertData(STR_CATEGORY_PIPELINE, map, entities);
        for (ZrOwEntity* entity : entities) {
            Require(SElecSearchPipe(entity, AcGePoint3d(), 0.1).m_pEntity == entity, "SElecSearchPipe: another entity");
        }
        return entities;
    }

    static void Networks(const std::vector<ZrOwEntity*>& entities) {
        std::vector<CCheckPipeLineGraph> graphs;
        CCheckSearchGraph().SearchGraph(entities, graphs);
        std::vector<std::vector<ZrOwEntity*>> loops;
        for (CCheckPipeLineGraph& graph : graphs) {
            Require(graph.IsValid(), "CCheckSearchGraph: a network holds nothing");
            graph.GetBadLoopVec(loops);
        }
        CCheckPipeLineGraph own;
        const boost::shared_ptr<CCheckPipeLineNode> node = own.CreateNode({1.0, 2.0, 3.0});
        ZrOwPolyLine pipe({1.0, 2.0, 3.0}, {4.0, 2.0, 3.0});
        const boost::shared_ptr<CCheckPipeLineEdge> edge = own.CreateEdge(&pipe);
        node->AppendEdge(edge);
        edge->SetNodeStart(node);
        Require(own.GetNode({1.0, 2.0, 3.05}) == node, "CCheckPipeLineGraph: a near node is not found");
    }

    static void Trust() {
        COwTrustTool trust;
        trust.Init(u"CTouchEverything", u"");
        Require(!trust.IsErrorTrusted("_00000000000000000000000000000000"),
                "COwTrustTool: an unknown finding is trusted");
    }
};

NORVEX_RULE_MODULE(CTouchEverything)
