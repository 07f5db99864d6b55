// SPDX-License-Identifier: Apache-2.0
#include "norvexdata/common/ComMethod.h"
#include "platform/datamng/ProjectData.h"
#include "support/StringArrays.h"

#include <gtest/gtest.h>

#include <vector>

namespace {

using norvex::test::Elements;
using Texts = std::vector<CString>;

class CableText : public testing::Test {
  protected:
    ~CableText() override { norvex::datamng::SetCurrentProject({}); }

    // An attribute definition that chooses these leads and conduits.
    void Define(const CString& name, const CString& leads, const CString& canals) {
        project.SetAttributeValue(name, u"AM_ChoiceLead", leads);
        project.SetAttributeValue(name, u"AM_ChoiceCanal", canals);
        norvex::datamng::SetCurrentProject(project);
    }

    void Dxdg(const CString& name) { CComMethod::SplitDxdg(name, wires, conduits); }
    void Zhgx(const CString& name) { CComMethod::SplitZhgx(name, wires, conduits); }

    norvex::datamng::ProjectData project;
    CStringArray wires;
    CStringArray conduits;
};

const CString kLine = u"弱电\\穿管引线\\综合管线\\Z1";
const CString kCombined = u"弱电\\穿管引线\\配管配线\\P1";

}  // namespace

TEST_F(CableText, UnknownAttributeLeavesTheOutputsAlone) {
    wires.Add(u"before");
    conduits.Add(u"before");
    Dxdg(u"弱电\\a\\b\\c");
    Zhgx(u"弱电\\a\\b\\c");
    EXPECT_EQ(Elements(wires), (Texts{u"before"}));
    EXPECT_EQ(Elements(conduits), (Texts{u"before"}));
}

TEST_F(CableText, TakesThreeFieldsOfALeadAndTwoOfAConduit) {
    Define(kLine, u"BV,2.5,3;RVS,1.5,2", u"SC,20;PC,25,extra");
    Dxdg(kLine);
    EXPECT_EQ(Elements(wires), (Texts{u"BV", u"2.5", u"3", u"RVS", u"1.5", u"2"}));
    EXPECT_EQ(Elements(conduits), (Texts{u"SC", u"20", u"PC", u"25"}));
}

TEST_F(CableText, SkipsShortEntriesAndIgnoresFurtherFields) {
    Define(kLine, u"a,b;c,d,e,f;;", u"x;,y,;p,q");
    Dxdg(kLine);
    EXPECT_EQ(Elements(wires), (Texts{u"c", u"d", u"e"}));
    EXPECT_EQ(Elements(conduits), (Texts{u"p", u"q"}));
}

TEST_F(CableText, EmptyFieldsDoNotCount) {
    Define(kLine, u"a,,b;a,,b,c", u",x,,y,");
    Dxdg(kLine);
    EXPECT_EQ(Elements(wires), (Texts{u"a", u"b", u"c"}));
    EXPECT_EQ(Elements(conduits), (Texts{u"x", u"y"}));
}

TEST_F(CableText, AbsentValuesReadAsEmpty) {
    project.AddAttribute(kLine);
    norvex::datamng::SetCurrentProject(project);
    Dxdg(kLine);
    Zhgx(kLine);
    EXPECT_TRUE(wires.IsEmpty());
    EXPECT_TRUE(conduits.IsEmpty());
}

TEST_F(CableText, AppendsToTheOutputs) {
    Define(kLine, u"a,b,c", u"x,y");
    wires.Add(u"before");
    Dxdg(kLine);
    Dxdg(kLine);
    EXPECT_EQ(Elements(wires), (Texts{u"before", u"a", u"b", u"c", u"a", u"b", u"c"}));
    EXPECT_EQ(Elements(conduits), (Texts{u"x", u"y", u"x", u"y"}));
}

TEST_F(CableText, ConduitEntryOfACompositeLineIsAConduit) {
    Define(kLine, u"配管,x,y", u"");
    Zhgx(kLine);
    EXPECT_TRUE(wires.IsEmpty());
    EXPECT_EQ(Elements(conduits), (Texts{u"配管", u"x"}));
}

TEST_F(CableText, CombinedEntryOfACompositeLineIsExpanded) {
    Define(kCombined, u"BV,2.5,3", u"SC,20");
    Define(kLine, u"first,1,1;配管配线,P1,9;last,1,1", u"PC,25");
    Zhgx(kLine);
    EXPECT_EQ(Elements(wires), (Texts{u"first", u"1", u"1", u"BV", u"2.5", u"3", u"last", u"1", u"1"}));
    EXPECT_EQ(Elements(conduits), (Texts{u"SC", u"20", u"PC", u"25"}));
}

TEST_F(CableText, CombinedEntryOfAnUnknownDefinitionAddsNothing) {
    Define(kLine, u"配管配线,unknown,9", u"");
    Zhgx(kLine);
    EXPECT_TRUE(wires.IsEmpty());
    EXPECT_TRUE(conduits.IsEmpty());
}

TEST_F(CableText, ExpansionGoesOneLevelDeep) {
    // A combined definition that names itself is read as plain wires.
    Define(kCombined, u"配管配线,P1,9", u"");
    Zhgx(kCombined);
    EXPECT_EQ(Elements(wires), (Texts{u"配管配线", u"P1", u"9"}));
}

TEST_F(CableText, BlanksAreNotTrimmed) {
    Define(kLine, u" 配管,x,y", u"");
    Zhgx(kLine);
    EXPECT_EQ(Elements(wires), (Texts{u" 配管", u"x", u"y"}));
    EXPECT_TRUE(conduits.IsEmpty());
}

TEST_F(CableText, ShortEntriesOfACompositeLineAreSkipped) {
    Define(kLine, u"配管,x;配管配线,P1;a,b", u"lonely");
    Zhgx(kLine);
    EXPECT_TRUE(wires.IsEmpty());
    EXPECT_TRUE(conduits.IsEmpty());
}

TEST_F(CableText, PlainLineTakesTheTypeWordsAsWires) {
    Define(kLine, u"配管,x,y;配管配线,P1,9", u"");
    Dxdg(kLine);
    EXPECT_EQ(Elements(wires), (Texts{u"配管", u"x", u"y", u"配管配线", u"P1", u"9"}));
}
