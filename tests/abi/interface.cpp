// SPDX-License-Identifier: Apache-2.0
#include "norvexdata/common/ComMethod.h"
#include "norvexdata/config/CheckLayoutFlangConfigParser.h"
#include "norvexdata/config/CheckPipeDiameterConfigParser.h"
#include "norvexdata/config/CheckPipeLinkConfigParser.h"
#include "norvexdata/entities/EntFindMethod.h"
#include "norvexdata/entities/GetZrOwEntityPtrVec.h"
#include "norvexdata/module/ThreadManagement.h"
#include "norvexdata/pipenet/CheckSearchGraph.h"
#include "norvexdata/state/NorvexData.h"
#include "norvexdata/state/NorvexService.h"
#include "norvexdata/trust/OwTrustTool.h"

// What a rule module knows of the interface when it is compiled. Never run: its debug information is read.
#define NORVEX_KNOWS(NAME, ...)                                     \
    __attribute__((visibility("default"))) void NAME(__VA_ARGS__) { \
    }

// The static data that rule modules read and write.
NORVEX_KNOWS(StateOfARun, decltype(CNorvexData::s_pINorvexService)&, decltype(CNorvexData::s_strFloorVec)&,
             decltype(CNorvexData::s_strCurCategory)&, decltype(CNorvexData::s_strCurFloor)&,
             decltype(CNorvexData::s_strCurSpec)&, decltype(CNorvexData::s_strSmallMemMap)&,
             decltype(CNorvexData::s_CheckStateMap)&, decltype(CNorvexData::s_sSubCategoryMap)&,
             decltype(CNorvexData::s_iCurRuleNum)&, decltype(CNorvexData::s_iTotalRuleNum)&,
             decltype(CNorvexData::s_bCheckFinish)&)
NORVEX_KNOWS(Coordination, decltype(CThreadManagement::s_cRunningThread)&,
             decltype(CThreadManagement::s_cRunningThreadId)&, decltype(CThreadManagement::s_bUserCancleCheck)&,
             decltype(CThreadManagement::s_cPreNoDoneThread)&, decltype(CThreadManagement::s_hStopSignal)&,
             decltype(CThreadManagement::s_hChangeFloorSignal)&, decltype(CThreadManagement::s_hWriteResultSignal)&,
             decltype(CThreadManagement::s_hWaitResultMutex)&)
NORVEX_KNOWS(Collection, decltype(CGetZrOwEntityPtrVec::s_cInstance)&, decltype(CGetZrOwEntityPtrVec::s_bIsEmpty)&)

// Objects that rule modules make, copy, derive from or look into.
NORVEX_KNOWS(Records, NS_NORVEX::RuleErrorInfo&, NS_NORVEX::CategoryCheckState&, NS_NORVEX::ComponentInfo&,
             NS_NORVEX::DllInfo&, NS_NORVEX::TrustStatus, SSubCategory&, SAttEntPtr&, CategoryMap&)
NORVEX_KNOWS(Arrays, CZRArray<NS_NORVEX::RuleErrorInfo>&, CZRArray<NS_NORVEX::ComponentInfo>&,
             CZRArray<NS_NORVEX::DllInfo>&, CStringArray&, CArray<AcDbExtents>&, AcDbObjectIdArray&)
NORVEX_KNOWS(Rules, INorvexService&, INorvexRule&, NS_NORVEX::RuleInfo&, NS_NORVEX::Finding&, NS_NORVEX::RuleResult&)
NORVEX_KNOWS(Configuration, NorvexConfig&, NorvexConfigState&, ConfigParser&, CheckPipeLinkConfigParser&,
             CheckPipeLinkConfigParser::LinkType&, CheckPipeDiameterConfigParser&, CheckLayoutFlangConfigParser&,
             CheckLayoutFlangConfigParser::AttItem&, CheckLayoutFlangConfigParser::EqipmentType)
NORVEX_KNOWS(Searches, CComMethod&, EFindHandle, CEntFindMethod&, SElecSearchPipe&, COwTrustTool&)
NORVEX_KNOWS(Networks, CCheckPipeLineNode&, CCheckPipeLineEdge&, CCheckPipeLineGraph&, CCheckSearchGraph&)
