// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <string>

#include "service/ModelFile.h"
#include "service/Sha256.h"

namespace norvex::service {
namespace {

class ModelFileTest : public testing::Test {
  protected:
    std::string Write(const std::string& text) {
        std::ofstream(m_path, std::ios::binary) << text;
        return m_path.string();
    }
    ~ModelFileTest() override { std::filesystem::remove(m_path); }

    std::filesystem::path m_path =
        std::filesystem::temp_directory_path() / ("norvex-model-file-" + std::to_string(::getpid()) + ".ifc");
};

constexpr const char* kModel =
    "ISO-10303-21;\nHEADER;\nFILE_SCHEMA(('IFC4'));\nENDSEC;\nDATA;\n#1=IFCPROJECT('p',$,'P',$,$,$,$,$,$);\n"
    "#2=IFCVALVE('v',$,'V',$,$,$,$,$,$);\nENDSEC;\nEND-ISO-10303-21;\n";

TEST_F(ModelFileTest, GivesTheModelAndTheDigestOfItsBytes) {
    const std::string path = Write(kModel);
    const ModelFile file = ReadModelFile(path);
    ASSERT_TRUE(file.read.Ok());
    EXPECT_EQ(file.read.model->elements.size(), 1U);
    EXPECT_EQ(file.read.model->sourceName, m_path.filename());
    Sha256 digest;
    digest.Add(kModel);
    EXPECT_EQ(file.sha256, digest.Finish());
}

TEST_F(ModelFileTest, GivesTheReadersErrorForWhatIsNoModel) {
    const ModelFile file = ReadModelFile(Write("no model"));
    EXPECT_FALSE(file.read.Ok());
    EXPECT_EQ(file.read.error.code, ifc::DiagnosticCode::NotPart21);
}

TEST_F(ModelFileTest, GivesTheReadersErrorForAFileThatIsNotThere) {
    const ModelFile file = ReadModelFile(m_path.string());
    EXPECT_FALSE(file.read.Ok());
    EXPECT_EQ(file.read.error.code, ifc::DiagnosticCode::CannotOpen);
    EXPECT_EQ(file.sha256, "");
    EXPECT_EQ(ReadModelFile(m_path.parent_path().string()).read.error.code, ifc::DiagnosticCode::CannotOpen);
}

}  // namespace
}  // namespace norvex::service
