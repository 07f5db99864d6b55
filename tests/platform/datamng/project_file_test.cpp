// SPDX-License-Identifier: Apache-2.0
#include "platform/datamng/ProjectFile.h"

#include "platform/kernel/NativePath.h"
#include "platform/text/Utf8.h"
#include "support/TemporaryFolder.h"
#include "support/TextPrinter.h"
#include "support/WithoutPrivileges.h"

#include <gtest/gtest.h>

#include <fstream>
#include <random>
#include <sstream>
#include <string>
#include <vector>

namespace {

using namespace norvex::datamng;
using norvex::kernel::FromNativePath;

std::string Document(const std::string& content, const std::string& attributes = "") {
    return "<projectData version='1'" + attributes + ">\n" + content + "\n</projectData>";
}

// "line: sentence" of a document that must not be readable.
std::string Complaint(const std::string& bytes) {
    const ProjectReadResult result = ReadProjectData(bytes);
    EXPECT_FALSE(result.data.has_value()) << bytes;
    return std::to_string(result.line) + ": " + result.sentence;
}

TEST(ProjectFile, HoldsCategoriesAttributesAndCalculationItems) {
    const ProjectReadResult result = ReadProjectData(Document(
        "<specialty id='7' name='给排水'><category id='3' name='管线'><subCategory id='12' name='管道'/>"
        "</category></specialty>"
        "<attribute id='5' path='给排水\\管线\\管道\\DN50'><value name='材质'> 钢 &amp; 铜 </value></attribute>"
        "<calculation path='给排水\\管线\\管道'><item name='长度' flag='0'/><item name='保温' flag='1'/>"
        "</calculation>",
        " specialty='给排水'"));
    ASSERT_TRUE(result.data.has_value()) << result.sentence;
    const ProjectData& data = *result.data;
    EXPECT_EQ(data.currentSpecialty, L"给排水");
    EXPECT_EQ(data.FindSpecialty(L"给排水")->id, 7);
    EXPECT_EQ(data.FindBigCategory(L"给排水", L"管线")->id, 3);
    EXPECT_EQ(data.FindSmallCategory(12)->name, L"管道");
    EXPECT_EQ(data.FindAttribute(5)->values.at(L"材质"), L" 钢 & 铜 ");
    const auto& items = data.CalculationItems().at(L"给排水\\管线\\管道");
    ASSERT_EQ(items.size(), 2U);
    EXPECT_EQ(items[1].name, L"保温");
    EXPECT_EQ(items[1].flag, L"1");
}

TEST(ProjectFile, MayNameHundredsOfThousandsUnderOneParent) {
    // Comparing each name with all of its siblings would take a quarter of an hour here.
    std::string specialties;
    std::string categories;
    std::string subCategories;
    constexpr int kCount = 150'000;
    for (int index = 0; index < kCount; ++index) {
        const std::string name = " name='n" + std::to_string(index) + "'/>";
        specialties += "<specialty" + name;
        categories += "<category" + name;
        subCategories += "<subCategory" + name;
    }
    const ProjectReadResult result =
        ReadProjectData(Document(specialties + "<specialty name='a'>" + categories + "<category name='b'>" +
                                 subCategories + "</category></specialty>"));
    ASSERT_TRUE(result.data.has_value()) << result.sentence;
    EXPECT_EQ(result.data->FindSpecialty(L"n149999")->id, kCount);
    EXPECT_EQ(result.data->FindBigCategory(L"a", L"n149999")->id, kCount);
    EXPECT_EQ(result.data->FindBigCategory(L"a", L"b")->smallCategories.size(), std::size_t{kCount});
    EXPECT_EQ(result.data->FindSmallCategory(kCount)->name, L"n149999");
}

TEST(ProjectFile, GivesIdsToWhatHasNone) {
    const ProjectReadResult result = ReadProjectData(Document("<specialty name='a'/><specialty name='b'/>"));
    ASSERT_TRUE(result.data.has_value()) << result.sentence;
    EXPECT_EQ(result.data->FindSpecialty(L"a")->id, 1);
    EXPECT_EQ(result.data->FindSpecialty(L"b")->id, 2);
}

TEST(ProjectFile, SaysInWhichLineAndWhyItCannotBeRead) {
    EXPECT_EQ(Complaint("<project/>"), "1: The document is not project data of version 1.");
    EXPECT_EQ(Complaint("<projectData version='2'/>"), "1: The document is not project data of version 1.");
    EXPECT_EQ(Complaint(Document("<specalty name='a'/>")), "2: The element \"specalty\" is not known in project data.");
    EXPECT_EQ(Complaint(Document("<specialty/>")), "2: The element \"specialty\" needs the attribute \"name\".");
    EXPECT_EQ(Complaint(Document("<specialty name='a' colour='b'/>")),
              "2: The element \"specialty\" has no attribute \"colour\".");
    EXPECT_EQ(Complaint(Document("<specialty name='a'>\n<category name='b'>\n<sub name='c'/></category></specialty>")),
              "4: The element \"sub\" is not known in a category.");
    EXPECT_EQ(Complaint(Document("<specialty name='a'/>\n\n<specialty name='a'/>")),
              "4: The specialty \"a\" stands there twice.");
    EXPECT_EQ(Complaint(Document("<specialty id='1' name='a'/><specialty id='1' name='b'/>")),
              "2: The id 1 is given twice to elements \"specialty\".");
    EXPECT_EQ(Complaint(Document("<calculation path='p'><item name='n'/></calculation>")),
              "2: The element \"item\" needs the attribute \"flag\".");
    EXPECT_NE(Complaint("<projectData version='1'>\n<a></projectData>").find("2: The document is not well-formed"),
              std::string::npos);
}

TEST(ProjectFile, RefusesIdsThatAreNone) {
    for (const std::string id : {"0", "-1", "x", "1x", "", " 1", "2147483648", "99999999999999999999"}) {
        EXPECT_EQ(Complaint(Document("<specialty id='" + id + "' name='a'/>")),
                  "2: The id \"" + id + "\" is not a number from 1 to 2147483647.");
    }
}

void ExpectEqual(const ProjectData& left, const ProjectData& right) {
    EXPECT_EQ(left.currentSpecialty, right.currentSpecialty);
    // Written alike is the same for everything that a file holds.
    EXPECT_EQ(WriteProjectData(left), WriteProjectData(right));
    ASSERT_EQ(left.Specialties().size(), right.Specialties().size());
    ASSERT_EQ(left.Attributes().size(), right.Attributes().size());
    for (const auto& [path, definition] : left.Attributes()) {
        ASSERT_NE(right.FindAttribute(path), nullptr);
        EXPECT_EQ(right.FindAttribute(path)->id, definition.id);
        EXPECT_EQ(right.FindAttribute(path)->values, definition.values);
    }
}

TEST(ProjectFile, ReadsBackWhatItWrites) {
    std::mt19937 random(3);
    const std::u16string letters = u"ab\\\"'&<>\t\n\r 管道\xD842\xDFB7]";
    const auto text = [&](std::size_t least) {
        std::u16string units;
        const std::size_t length = least + random() % 6;
        while (units.size() < length) {
            const char16_t unit = letters[random() % letters.size()];
            if (unit == u'\xD842' || unit == u'\xDFB7') {
                units += u"\xD842\xDFB7";
            } else {
                units += unit;
            }
        }
        return norvex::text::ToCString(units);
    };
    for (int round = 0; round < 500; ++round) {
        ProjectData data;
        data.currentSpecialty = text(0);
        for (int count = 0; count < 5; ++count) {
            data.AddSmallCategory(text(1), text(1), text(1), static_cast<long>(random() % 100));
            data.SetAttributeValue(text(1), text(1), text(0));
            data.SetCalculationItems(text(1), {{text(1), text(1)}, {text(1), text(1)}});
        }
        const std::string bytes = WriteProjectData(data);
        const ProjectReadResult result = ReadProjectData(bytes);
        ASSERT_TRUE(result.data.has_value()) << result.line << ": " << result.sentence << "\n" << bytes;
        ExpectEqual(data, *result.data);
    }
}

TEST(ProjectFile, ReplacesWhatNoDocumentMayHold) {
    ProjectData data;
    data.AddSpecialty(CString(u"a\x1\xD800z\xFFFF"));
    const ProjectReadResult result = ReadProjectData(WriteProjectData(data));
    ASSERT_TRUE(result.data.has_value()) << result.sentence;
    EXPECT_EQ(result.data->Specialties()[0].name, CString(u"a\xFFFD\xFFFDz\xFFFD"));
}

TEST(ProjectFile, IsMergedWithTheCatalogue) {
    const TemporaryFolder folder;
    const CString project = FromNativePath((folder.Path() / "一号楼").native());
    const CString catalogue =
        FromNativePath(folder
                           .Write("Catalogue.xml", Document("<specialty id='4' name='给排水'><category name='管线'>"
                                                            "<subCategory name='管道'/></category></specialty>"))
                           .native());
    std::filesystem::create_directory(folder.Path() / "一号楼");
    const ProjectReadResult alone = LoadProject(project, catalogue);
    ASSERT_TRUE(alone.data.has_value()) << alone.sentence;
    EXPECT_EQ(alone.data->folder, project);

    ProjectData model;
    model.currentSpecialty = L"给排水";
    model.SetAttributeValue(L"给排水\\管线\\给水管\\DN50", L"材质", L"钢管");
    ASSERT_TRUE(WriteProjectFile(project, model));
    const ProjectReadResult merged = LoadProject(project, catalogue);
    ASSERT_TRUE(merged.data.has_value()) << merged.sentence;
    EXPECT_EQ(merged.data->FindSpecialty(L"给排水")->id, 4);
    EXPECT_EQ(merged.data->currentSpecialty, L"给排水");
    const auto& smalls = merged.data->FindBigCategory(L"给排水", L"管线")->smallCategories;
    ASSERT_EQ(smalls.size(), 2U);
    EXPECT_EQ(smalls[0].name, L"管道");
    EXPECT_EQ(smalls[1].name, L"给水管");
}

TEST(ProjectFile, SaysWhichOfTheTwoFilesIsBroken) {
    const TemporaryFolder folder;
    const CString project = FromNativePath(folder.Path().native());
    const CString catalogue = FromNativePath(folder.Write("Catalogue.xml", Document("")).native());
    const CString missing = project + L"\\missing.xml";
    EXPECT_EQ(LoadProject(project, missing).path, missing);
    EXPECT_EQ(LoadProject(project, missing).sentence, "The file does not exist or cannot be read.");
    folder.Write("ProjectData.xml", "<projectData version='1'>\n<oops/></projectData>");
    const ProjectReadResult result = LoadProject(project, catalogue);
    EXPECT_FALSE(result.data.has_value());
    EXPECT_EQ(result.path, project + L"\\ProjectData.xml");
    EXPECT_EQ(result.line, 2);
}

TEST(ProjectFile, IsNotWrittenIntoAReadOnlyOrMissingFolder) {
    const TemporaryFolder folder;
    EXPECT_FALSE(WriteProjectFile(FromNativePath((folder.Path() / "missing").native()), ProjectData()));
    folder.Write("ProjectData.xml", "old");
    std::filesystem::permissions(folder.Path(), std::filesystem::perms(0555));
    {
        const WithoutPrivileges guard;
        EXPECT_FALSE(WriteProjectFile(FromNativePath(folder.Path().native()), ProjectData()));
    }
    EXPECT_EQ(std::filesystem::file_size(folder.Path() / "ProjectData.xml"), 3U);
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator(folder.Path()), {}), 1);
}

TEST(Catalogue, CanBeRead) {
    const ProjectReadResult result = ReadProjectFile(FromNativePath(NORVEX_CATALOGUE));
    ASSERT_TRUE(result.data.has_value()) << result.line << ": " << result.sentence;
    EXPECT_EQ(result.data->Specialties().size(), 5U);
    for (const Specialty& specialty : result.data->Specialties()) {
        for (const BigCategory& big : specialty.bigCategories) {
            for (const SmallCategory& small : big.smallCategories) {
                const CString path = specialty.name + L"\\" + big.name + L"\\" + small.name;
                EXPECT_TRUE(result.data->CalculationItems().contains(path)) << norvex::text::ToUtf8(path);
            }
        }
    }
}

TEST(Catalogue, KnowsWhereverTheMappingFilesAnElement) {
    const ProjectReadResult result = ReadProjectFile(FromNativePath(NORVEX_CATALOGUE));
    ASSERT_TRUE(result.data.has_value());
    std::ifstream mapping(NORVEX_MAPPING);
    int lines = 0;
    for (std::string line; std::getline(mapping, line);) {
        std::istringstream fields(line);
        std::string kind, key, specialty, category, subCategory;
        std::getline(fields, kind, '\t');
        std::getline(fields, key, '\t');
        std::getline(fields, specialty, '\t');
        std::getline(fields, category, '\t');
        std::getline(fields, subCategory, '\t');
        if ((kind != "class" && kind != "name-word") || category == "-") {
            continue;
        }
        ++lines;
        const BigCategory* big =
            result.data->FindBigCategory(norvex::text::FromUtf8(specialty), norvex::text::FromUtf8(category));
        ASSERT_NE(big, nullptr) << line;
        bool known = false;
        for (const SmallCategory& small : big->smallCategories) {
            known = known || small.name == norvex::text::FromUtf8(subCategory);
        }
        EXPECT_TRUE(known) << line;
    }
    EXPECT_GT(lines, 50);
}

}  // namespace
