// SPDX-License-Identifier: Apache-2.0
#include <cxxabi.h>
#include <dlfcn.h>
#include <elf.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <iterator>
#include <memory>
#include <set>
#include <string>
#include <vector>

namespace {

std::string Readable(const char* name) {
    int status = 0;
    const std::unique_ptr<char, void (*)(void*)> readable(abi::__cxa_demangle(name, nullptr, nullptr, &status),
                                                          &std::free);
    return status == 0 ? readable.get() : name;
}

template <class T>
T Read(const std::string& bytes, std::size_t place) {
    T value{};
    std::memcpy(&value, bytes.data() + place, sizeof value);
    return value;
}

// What a library offers under which readable name, read from its table of dynamic symbols.
std::set<std::string> OfferedNames(const char* file, void* library) {
    std::ifstream stream(file, std::ios::binary);
    const std::string bytes((std::istreambuf_iterator<char>(stream)), std::istreambuf_iterator<char>());
    const auto header = Read<Elf64_Ehdr>(bytes, 0);
    std::set<std::string> names;
    for (std::size_t section = 0; section < header.e_shnum; ++section) {
        const auto table = Read<Elf64_Shdr>(bytes, header.e_shoff + section * header.e_shentsize);
        if (table.sh_type != SHT_DYNSYM) {
            continue;
        }
        const auto strings = Read<Elf64_Shdr>(bytes, header.e_shoff + table.sh_link * header.e_shentsize);
        for (std::size_t place = 0; place < table.sh_size; place += sizeof(Elf64_Sym)) {
            const auto symbol = Read<Elf64_Sym>(bytes, table.sh_offset + place);
            const char* const name = bytes.data() + strings.sh_offset + symbol.st_name;
            if (symbol.st_shndx != SHN_UNDEF && dlsym(library, name) != nullptr) {
                names.insert(Readable(name));
            }
        }
    }
    return names;
}

class Exports : public testing::Test {
  protected:
    void SetUp() override {
        library = dlopen(NORVEX_MODULE_FILE, RTLD_NOW | RTLD_LOCAL);
        ASSERT_NE(library, nullptr) << dlerror();
        names = OfferedNames(NORVEX_MODULE_FILE, library);
    }
    void TearDown() override { dlclose(library); }

    bool HasMemberOf(const std::string& className) const {
        return std::any_of(names.begin(), names.end(),
                           [&](const std::string& name) { return name.starts_with(className + "::"); });
    }

    void* library = nullptr;
    std::set<std::string> names;
};

}  // namespace

TEST_F(Exports, HoldEachClassOfTheInterface) {
    for (const char* className :
         {"CNorvexData", "CThreadManagement", "NorvexConfig", "ConfigParser", "CheckPipeLinkConfigParser",
          "CheckPipeDiameterConfigParser", "CheckLayoutFlangConfigParser", "CComMethod", "CGetZrOwEntityPtrVec",
          "CEntFindMethod", "SElecSearchPipe", "CCheckPipeLineNode", "CCheckPipeLineEdge", "CCheckPipeLineGraph",
          "CCheckSearchGraph", "COwTrustTool", "NS_NORVEX::RuleErrorInfo"}) {
        EXPECT_TRUE(HasMemberOf(className)) << className;
    }
}

TEST_F(Exports, HoldTheFreeFunctionsAndTheHostsEntries) {
    EXPECT_EQ(names.count("acrxEntryPoint"), 1U);
    EXPECT_EQ(names.count("acrxGetApiVersion"), 1U);
    EXPECT_EQ(names.count("GetErrorFeatureCode(CString const&, CString const&, CString const&, CString const&, "
                          "CString const&, CString const&)"),
              1U);
}

TEST_F(Exports, KeepTheirSpellings) {
    for (const char* name : {"CThreadManagement::SetIsUserCancle(bool)", "CThreadManagement::GetIsUserCancle()",
                             "CThreadManagement::s_bUserCancleCheck",
                             "CComMethod::IsPntEnternsInter(AcDbExtents const&, AcGePoint3d const&)",
                             "CComMethod::IsIntersectWithEnterns(AcDbExtents const&, AcDbExtents const&)",
                             "NorvexConfig::GetCoinfigData(CString const&) const"}) {
        EXPECT_EQ(names.count(name), 1U) << name;
    }
    EXPECT_TRUE(std::any_of(names.begin(), names.end(), [](const std::string& name) {
        return name.starts_with("COwTrustTool::GetCurFlorTrustParam(");
    }));
    EXPECT_TRUE(std::any_of(names.begin(), names.end(), [](const std::string& name) {
        return name.starts_with("CheckLayoutFlangConfigParser::GetAttItem(CheckLayoutFlangConfigParser::EqipmentType");
    }));
}

TEST_F(Exports, LeaveTheInnerWorksAndLibrariesOut) {
    for (const std::string& name : names) {
        const std::string withoutParameters = name.substr(0, name.find('('));
        for (const char* foreign : {"norvex::", "std::", "boost::"}) {
            EXPECT_EQ(withoutParameters.find(foreign), std::string::npos) << name;
        }
    }
}

TEST_F(Exports, LeaveOutWhatAClassKeepsToItself) {
    for (const char* member :
         {"CCheckPipeLineEdge::GetNode(", "CCheckPipeLineEdge::SetNode(", "CCheckPipeLineEdge::OwnLinks(",
          "CCheckPipeLineNode::List(", "CCheckPipeLineGraph::EdgeAt(", "CCheckPipeLineGraph::NodeAt(",
          "CCheckPipeLineGraph::Lookup(", "CheckPipeDiameterConfigParser::FirstGroup(",
          "NorvexConfig::NorvexConfig("}) {
        EXPECT_FALSE(std::any_of(names.begin(), names.end(), [&](const std::string& name) {
            return name.starts_with(member);
        })) << member;
    }
}
