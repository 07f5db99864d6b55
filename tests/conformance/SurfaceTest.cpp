// SPDX-License-Identifier: Apache-2.0
#include <cxxabi.h>
#include <dlfcn.h>
#include <elf.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <fstream>
#include <iterator>
#include <map>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "platform/arx/AcRx.h"

// Loads the module as a host does, by its file alone: nothing here is linked with it.
namespace {

std::string ModulePath() {
    const char* const given = std::getenv("NORVEX_MODULE");
    return given == nullptr ? "" : given;
}

struct Symbol {
    std::string mangled;
    // Without the parameters and without what stands before the name.
    std::string name;
    // As it is written in C++, the symbol itself when it is no C++ name.
    std::string full;
    bool isData = false;
};

std::string Demangled(const std::string& symbol) {
    int status = 0;
    char* const text = abi::__cxa_demangle(symbol.c_str(), nullptr, nullptr, &status);
    const std::string result = status == 0 ? text : symbol;
    std::free(text);
    return result;
}

// Where the parenthesis ends that opens at the position.
std::size_t EndOfParenthesis(const std::string& text, std::size_t open) {
    int depth = 0;
    for (std::size_t index = open; index < text.size(); ++index) {
        depth += text[index] == '(' ? 1 : text[index] == ')' ? -1 : 0;
        if (depth == 0) {
            return index;
        }
    }
    return text.size();
}

// "std::pair<A, B> std::set<C>::insert(D const&)" gives "std::set<C>::insert".
std::string QualifiedName(const std::string& full) {
    int depth = 0;
    std::size_t begin = 0;
    for (std::size_t index = 0; index < full.size(); ++index) {
        const char character = full[index];
        if (character == '<') {
            ++depth;
        } else if (character == '>') {
            --depth;
        } else if (depth == 0 && character == ' ') {
            begin = index + 1;
        } else if (depth == 0 && character == '(') {
            const bool isResultType = index >= 9 && full.compare(index - 9, 9, "decltype ") == 0;
            const bool isAnonymous = full.compare(index, 21, "(anonymous namespace)") == 0;
            if (!isResultType && !isAnonymous) {
                return full.substr(begin, index - begin);
            }
            index = EndOfParenthesis(full, index);
        }
    }
    return full.substr(begin);
}

template <typename Header>
std::vector<Header> Table(const std::string& bytes, std::uint64_t offset, std::size_t count) {
    std::vector<Header> table(count);
    std::memcpy(table.data(), bytes.data() + offset, count * sizeof(Header));
    return table;
}

// Everything that the file offers to the dynamic linker.
std::vector<Symbol> OfferedSymbols() {
    std::ifstream file(ModulePath(), std::ios::binary);
    const std::string bytes{std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
    std::vector<Symbol> symbols;
    if (bytes.size() < sizeof(Elf64_Ehdr)) {
        return symbols;
    }
    const Elf64_Ehdr header = Table<Elf64_Ehdr>(bytes, 0, 1)[0];
    const std::vector<Elf64_Shdr> sections = Table<Elf64_Shdr>(bytes, header.e_shoff, header.e_shnum);
    for (const Elf64_Shdr& section : sections) {
        if (section.sh_type != SHT_DYNSYM) {
            continue;
        }
        const char* const texts = bytes.data() + sections[section.sh_link].sh_offset;
        for (const Elf64_Sym& entry : Table<Elf64_Sym>(bytes, section.sh_offset, section.sh_size / sizeof(Elf64_Sym))) {
            if (entry.st_shndx == SHN_UNDEF || ELF64_ST_BIND(entry.st_info) == STB_LOCAL) {
                continue;
            }
            Symbol symbol;
            symbol.mangled = texts + entry.st_name;
            symbol.full = Demangled(symbol.mangled);
            symbol.name = QualifiedName(symbol.full);
            symbol.isData = ELF64_ST_TYPE(entry.st_info) == STT_OBJECT;
            symbols.push_back(symbol);
        }
    }
    return symbols;
}

// The same by name: how many different C++ functions, or which data, carry it. Constructors and destructors have
// several symbols for one function.
std::map<std::string, std::set<std::string>> OfferedByName(bool data) {
    std::map<std::string, std::set<std::string>> names;
    for (const Symbol& symbol : OfferedSymbols()) {
        if (symbol.isData == data) {
            names[symbol.name].insert(symbol.full);
        }
    }
    return names;
}

// Functions of the exported classes with their numbers of overloads.
const std::map<std::string, std::size_t> kFunctions = {
    {"CNorvexData::SetNorvexService", 1},
    {"CNorvexData::GetNorvexService", 1},
    {"CNorvexData::GetCheckRegion", 1},
    {"CNorvexData::SetCheckingState", 1},
    {"CNorvexData::GetRunTimeCheckState", 1},
    {"CNorvexData::ClearCheckData", 1},
    {"CNorvexData::AddCheckResultCount", 1},
    {"CNorvexData::GetCheckResultCount", 1},
    {"CNorvexData::GetAllCheckResultCount", 1},
    {"CNorvexData::IsExistCheckErrorCount", 1},
    {"CNorvexData::GetCheckRuleRate", 1},
    {"CNorvexData::GetSubCategoryAry", 1},
    {"CThreadManagement::SetIsUserCancle", 1},
    {"CThreadManagement::GetIsUserCancle", 1},
    {"CThreadManagement::SetStopContinueEvent", 1},
    {"CThreadManagement::ResetStopContinueEvent", 1},
    {"CThreadManagement::WaitForStopContinueEvent", 1},
    {"CThreadManagement::SetChangeFloorEvent", 1},
    {"CThreadManagement::ResetChangeFloorEvent", 1},
    {"CThreadManagement::WaitForChangeFloorEvent", 1},
    {"CThreadManagement::SetWriteResultEvent", 1},
    {"CThreadManagement::WaitForWriteResultEvent", 1},
    {"CThreadManagement::ResetWriteResultEvent", 1},
    {"NorvexConfig::Instance", 1},
    {"NorvexConfig::IsValid", 1},
    {"NorvexConfig::GetCoinfigData", 1},
    {"NorvexConfig::LoadConfig", 1},
    {"ConfigParser::ConfigParser", 2},
    {"ConfigParser::SetConfigData", 1},
    {"ConfigParser::CheckItems", 1},
    {"NorvexConfig::operator=", 1},
    {"CheckPipeLinkConfigParser::CheckPipeLinkConfigParser", 1},
    {"CheckPipeLinkConfigParser::CheckRules", 1},
    {"CheckPipeLinkConfigParser::ParseCheckRules", 1},
    {"CheckPipeDiameterConfigParser::CheckPipeDiameterConfigParser", 1},
    {"CheckPipeDiameterConfigParser::GetAttachments", 1},
    {"CheckPipeDiameterConfigParser::GetPipe", 1},
    {"CheckLayoutFlangConfigParser::CheckLayoutFlangConfigParser", 1},
    {"CheckLayoutFlangConfigParser::GetAttItem", 1},
    {"CComMethod::ExplodeStrAryIncEmpty", 1},
    {"CComMethod::ExplodeStrAry", 2},
    {"CComMethod::GetOneParam", 1},
    {"CComMethod::GetDetailNameByAttName", 1},
    {"CComMethod::GetUnitedArgument", 1},
    {"CComMethod::GetStrInsertPt", 1},
    {"CComMethod::GetStrHandle", 2},
    {"CComMethod::GetStrFPHandle", 5},
    {"CComMethod::GetStrFPHandleAry", 1},
    {"CComMethod::GetStrFixHandle", 3},
    {"CComMethod::GetStrFixAtt", 1},
    {"CComMethod::GetStrFAHandle", 2},
    {"CComMethod::HandleAryToIdAry", 1},
    {"CComMethod::ZRAbbreviatedSpec", 1},
    {"CComMethod::GetResultFileName", 1},
    {"CComMethod::CreateGuideFileName", 1},
    {"CComMethod::GetResultFileList", 1},
    {"CComMethod::GetDllInfo", 1},
    {"CComMethod::GetModuleMD5", 1},
    {"CComMethod::GetFileVersion", 1},
    {"CComMethod::ConvertBigMemMap", 1},
    {"CComMethod::FilterBigMemMap", 1},
    {"CComMethod::IsSelectedCalItem", 1},
    {"CComMethod::GetEntPtrVecByBigMemMap", 1},
    {"CComMethod::SplitDxdg", 1},
    {"CComMethod::SplitZhgx", 1},
    {"CComMethod::IsPntEnternsInter", 1},
    {"CComMethod::ExtentsInter", 1},
    {"CComMethod::IsIntersectWithEnterns", 2},
    {"CComMethod::GetEntLevel", 1},
    {"CComMethod::GetFloorGrade", 1},
    {"CGetZrOwEntityPtrVec::GetInstance", 1},
    {"CGetZrOwEntityPtrVec::Delete", 1},
    {"CGetZrOwEntityPtrVec::GetIsEmptyFloor", 1},
    {"CGetZrOwEntityPtrVec::InitEntityPtrVec", 1},
    {"CGetZrOwEntityPtrVec::AddToBigEntMap", 1},
    {"CGetZrOwEntityPtrVec::AddToAttSet", 1},
    {"CGetZrOwEntityPtrVec::GetSelEntByCondition", 1},
    {"CGetZrOwEntityPtrVec::GetEntityByBigMemMap", 2},
    {"CGetZrOwEntityPtrVec::GetAllFitInCurFlor", 1},
    {"CGetZrOwEntityPtrVec::CGetZrOwEntityPtrVec", 1},
    {"CGetZrOwEntityPtrVec::operator=", 1},
    {"CEntFindMethod::Is2PtNear", 1},
    {"CEntFindMethod::FindPipe", 1},
    {"CEntFindMethod::PopPipe", 1},
    {"CEntFindMethod::PopEquip", 1},
    {"CEntFindMethod::InsertData", 2},
    {"SElecSearchPipe::SElecSearchPipe", 1},
    {"CCheckPipeLineNode::CCheckPipeLineNode", 1},
    {"CCheckPipeLineNode::Point", 1},
    {"CCheckPipeLineNode::AppendEdge", 1},
    {"CCheckPipeLineNode::GetConnectEdgeNum", 1},
    {"CCheckPipeLineNode::GetConnectEdgeVec", 1},
    {"CCheckPipeLineEdge::CCheckPipeLineEdge", 1},
    {"CCheckPipeLineEdge::GetPipeEnt", 1},
    {"CCheckPipeLineEdge::GetStartPoint", 1},
    {"CCheckPipeLineEdge::GetEndPoint", 1},
    {"CCheckPipeLineEdge::GetSearchPoint", 1},
    {"CCheckPipeLineEdge::GetNodeStart", 1},
    {"CCheckPipeLineEdge::GetNodeEnd", 1},
    {"CCheckPipeLineEdge::SetNodeStart", 1},
    {"CCheckPipeLineEdge::SetNodeEnd", 1},
    {"CCheckPipeLineGraph::CreateNode", 1},
    {"CCheckPipeLineGraph::GetNode", 1},
    {"CCheckPipeLineGraph::CreateEdge", 1},
    {"CCheckPipeLineGraph::GetEdge", 1},
    {"CCheckPipeLineGraph::IsValid", 1},
    {"CCheckPipeLineGraph::HasBadLoop", 1},
    {"CCheckPipeLineGraph::GetItemCount", 1},
    {"CCheckPipeLineGraph::GetBadLoopVec", 1},
    {"CCheckSearchGraph::SearchGraph", 1},
    {"CCheckSearchGraph::SearchEdge", 1},
    {"CCheckSearchGraph::RemoveUsedPipe", 1},
    {"COwTrustTool::Init", 1},
    {"COwTrustTool::IsRuleTrusted", 1},
    {"COwTrustTool::GetTrustParam", 1},
    {"COwTrustTool::IsTrustItem", 1},
    {"COwTrustTool::GetCurFlorTrustParam", 1},
    {"COwTrustTool::IsErrorTrusted", 1},
    {"GetErrorFeatureCode", 1},
    {"NS_NORVEX::RuleErrorInfo::Clone", 1},
};

const std::set<std::string> kData = {
    "CNorvexData::s_pINorvexService",
    "CNorvexData::s_strFloorVec",
    "CNorvexData::s_strCurCategory",
    "CNorvexData::s_strCurFloor",
    "CNorvexData::s_strCurSpec",
    "CNorvexData::s_strSmallMemMap",
    "CNorvexData::s_CheckStateMap",
    "CNorvexData::s_sSubCategoryMap",
    "CNorvexData::s_iCurRuleNum",
    "CNorvexData::s_iTotalRuleNum",
    "CNorvexData::s_bCheckFinish",
    "CThreadManagement::s_cRunningThread",
    "CThreadManagement::s_cRunningThreadId",
    "CThreadManagement::s_bUserCancleCheck",
    "CThreadManagement::s_cPreNoDoneThread",
    "CThreadManagement::s_hStopSignal",
    "CThreadManagement::s_hChangeFloorSignal",
    "CThreadManagement::s_hWriteResultSignal",
    "CThreadManagement::s_hWaitResultMutex",
    "CGetZrOwEntityPtrVec::s_cInstance",
    "CGetZrOwEntityPtrVec::s_bIsEmpty",
};

// Classes that other modules link with.
const std::vector<std::string> kExportedClasses = {
    "CNorvexData",
    "CThreadManagement",
    "NorvexConfig",
    "ConfigParser",
    "CheckPipeLinkConfigParser",
    "CheckPipeDiameterConfigParser",
    "CheckLayoutFlangConfigParser",
    "CComMethod",
    "CGetZrOwEntityPtrVec",
    "CEntFindMethod",
    "SElecSearchPipe",
    "CCheckPipeLineNode",
    "CCheckPipeLineEdge",
    "CCheckPipeLineGraph",
    "CCheckSearchGraph",
    "COwTrustTool",
    "NS_NORVEX::GenericType",
    "NS_NORVEX::RuleErrorInfo",
};

const std::set<std::string> kExportedFunctions = {"acrxEntryPoint", "acrxGetApiVersion", "GetErrorFeatureCode"};

bool StartsWith(std::string_view text, std::string_view beginning) {
    return text.substr(0, beginning.size()) == beginning;
}

// What the tools put into every module: the linker's own marks and a sanitizer's.
bool IsOfTheTools(const Symbol& symbol) {
    static const std::set<std::string> marks = {"_init", "_fini", "_edata", "_end", "__bss_start"};
    return marks.count(symbol.mangled) != 0 || StartsWith(symbol.mangled, "__odr_asan") ||
           StartsWith(symbol.mangled, "__asan_") || StartsWith(symbol.mangled, "__ubsan_") ||
           // Types of functions, which the undefined behaviour sanitizer compares at every call.
           StartsWith(symbol.mangled, "_ZTIF") || StartsWith(symbol.mangled, "_ZTSF");
}

bool IsExported(const Symbol& symbol) {
    if (kExportedFunctions.count(symbol.name) != 0) {
        return true;
    }
    for (const std::string& exported : kExportedClasses) {
        if (StartsWith(symbol.name, exported + "::") || symbol.full == "typeinfo for " + exported ||
            symbol.full == "typeinfo name for " + exported || symbol.full == "vtable for " + exported ||
            StartsWith(symbol.full, "guard variable for " + exported + "::")) {
            return true;
        }
    }
    return false;
}

}  // namespace

TEST(ModuleSurfaceContract, TheModuleLoadsByItsFileAlone) {
    void* const module = dlopen(ModulePath().c_str(), RTLD_NOW | RTLD_LOCAL);
    ASSERT_NE(module, nullptr) << dlerror();
    const auto version = reinterpret_cast<AcRxApiVersionFunction>(dlsym(module, "acrxGetApiVersion"));
    const auto entry = reinterpret_cast<AcRxEntryPointFunction>(dlsym(module, "acrxEntryPoint"));
    ASSERT_NE(version, nullptr);
    ASSERT_NE(entry, nullptr);
    EXPECT_EQ(version() >> 16, 18);
    for (int message = 0; message <= 16; ++message) {
        EXPECT_EQ(entry(static_cast<AcRx::AppMsgCode>(message), nullptr), AcRx::kRetOK) << message;
    }
}

TEST(ModuleSurfaceContract, EverythingItOffersCanBeLookedUpInTheLoadedModule) {
    void* const module = dlopen(ModulePath().c_str(), RTLD_NOW | RTLD_LOCAL);
    ASSERT_NE(module, nullptr) << dlerror();
    std::size_t found = 0;
    for (const Symbol& symbol : OfferedSymbols()) {
        if (IsExported(symbol)) {
            EXPECT_NE(dlsym(module, symbol.mangled.c_str()), nullptr) << symbol.full;
            ++found;
        }
    }
    EXPECT_GT(found, kFunctions.size());
}

TEST(ModuleSurfaceContract, EveryFunctionOfTheExportedClassesIsThereWithAllItsOverloads) {
    const std::map<std::string, std::set<std::string>> offered = OfferedByName(false);
    for (const auto& [name, overloads] : kFunctions) {
        const auto found = offered.find(name);
        EXPECT_EQ(found == offered.end() ? 0 : found->second.size(), overloads) << name;
    }
}

TEST(ModuleSurfaceContract, EveryStaticMemberOfTheExportedClassesIsThere) {
    const std::map<std::string, std::set<std::string>> offered = OfferedByName(true);
    for (const std::string& name : kData) {
        EXPECT_EQ(offered.count(name), 1U) << name;
    }
}

TEST(ModuleSurfaceContract, NothingElseOfItsInsideIsOffered) {
    const std::vector<Symbol> symbols = OfferedSymbols();
    EXPECT_FALSE(symbols.empty()) << ModulePath();
    for (const Symbol& symbol : symbols) {
        EXPECT_TRUE(IsOfTheTools(symbol) || IsExported(symbol)) << symbol.full;
    }
}
