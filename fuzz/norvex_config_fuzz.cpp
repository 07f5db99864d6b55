// SPDX-License-Identifier: Apache-2.0
#include "fuzz/Encodings.h"
#include "fuzz/MemoryFolder.h"
#include "fuzz/Promise.h"
#include "norvexdata/config/CheckLayoutFlangConfigParser.h"
#include "norvexdata/config/CheckPipeDiameterConfigParser.h"
#include "norvexdata/config/CheckPipeLinkConfigParser.h"
#include "norvexdata/config/NorvexConfig.h"
#include "platform/datamng/ProjectData.h"
#include "platform/kernel/NativePath.h"
#include "platform/profile/ZrOwProfile.h"
#include "platform/xml/XmlDocument.h"
#include "tests/support/ForgetConfiguration.h"

#include <map>
#include <set>
#include <string>
#include <vector>

// Whatever the bytes of NorvexConfig.xml are, every parser gives what a naive twin reads from the document's tree, and
// the same from the document in another encoding.

namespace {

using namespace norvex::fuzz;
using norvex::xml::Element;

using Group = std::map<CString, std::set<CString>>;

// All that the parsers say of one document.
struct Answers {
    bool isValid = false;
    std::map<CString, std::pair<CString, std::vector<CString>>> links;
    std::vector<Group> groups;

    bool operator==(const Answers&) const = default;
};

// What the parsers are asked for; the dictionary and the seeds have these words.
const std::vector<CString>& Selectors() {
    static const std::vector<CString>& selectors = *new std::vector<CString>{u"给排水", u"消防", u""};
    return selectors;
}

// Sections with checkitems that are looked at; the parsers know their own.
const std::vector<CString>& ClassNames() {
    static const std::vector<CString>& names = *new std::vector<CString>{u"CCheckPipeLinkInvalid", u"CCheckPipeLoop"};
    return names;
}

// ---- The parsers ----

Answers Ask() {
    Answers answers;
    // Asked for once: each asking loads a file again that could not be read.
    const NorvexConfig& config = NorvexConfig::Instance();
    answers.isValid = config.IsValid();
    for (const auto& [name, link] : CheckPipeLinkConfigParser().CheckRules()) {
        answers.links[name] = {link.strDefault, link.vecAvailables};
    }
    CheckPipeDiameterConfigParser diameter;
    CheckLayoutFlangConfigParser flange;
    for (const CString& selector : Selectors()) {
        answers.groups.push_back(diameter.GetAttachments(selector));
        answers.groups.push_back(diameter.GetPipe(selector));
        for (const auto kind : {CheckLayoutFlangConfigParser::eEquipment, CheckLayoutFlangConfigParser::eWaterbox}) {
            const CheckLayoutFlangConfigParser::AttItem item = flange.GetAttItem(kind, selector);
            answers.groups.push_back(item.mapEquipment);
            answers.groups.push_back(item.mapPipe);
        }
        for (const CString& className : ClassNames()) {
            answers.groups.push_back(ConfigParser(config.GetCoinfigData(className)).CheckItems(selector));
        }
    }
    return answers;
}

// ---- The naive twin ----

CString NameOf(const Element& element) {
    const CString* name = element.FindAttribute(u"name");
    return name == nullptr ? CString() : *name;
}

const Element* FindTag(const Element* parent, const CString& tag) {
    for (std::size_t i = 0; parent != nullptr && i < parent->children.size(); ++i) {
        if (parent->children[i].tag == tag) {
            return &parent->children[i];
        }
    }
    return nullptr;
}

const Element* FindName(const Element* parent, const CString& name) {
    for (std::size_t i = 0; parent != nullptr && i < parent->children.size(); ++i) {
        if (NameOf(parent->children[i]) == name) {
            return &parent->children[i];
        }
    }
    return nullptr;
}

const Element* RuleOf(const Element* root, const CString& className) {
    for (std::size_t i = 0; root != nullptr && i < root->children.size(); ++i) {
        const CString* name = root->children[i].FindAttribute(u"className");
        if (root->children[i].tag == u"rule" && (name == nullptr ? CString() : *name) == className) {
            return &root->children[i];
        }
    }
    return nullptr;
}

// The project knows two small categories of 给排水\管线.
Group GroupOf(const Element* group, const CString& prefix) {
    Group result;
    for (std::size_t i = 0; group != nullptr && i < group->children.size(); ++i) {
        const Element& entry = group->children[i];
        std::set<CString> names;
        for (const Element& value : entry.children) {
            const CString text = norvex::xml::TextOf(value);
            if (text == u"*") {
                names.clear();
                if (prefix + u"\\" + NameOf(entry) == u"给排水\\管线") {
                    names = {u"管道", u"水管"};
                }
            } else if (!text.IsEmpty()) {
                names.insert(text);
            }
        }
        result[NameOf(entry)].merge(names);
    }
    return result;
}

Group DiameterGroup(const Element* rule, const CString& selector, const CString& name) {
    for (std::size_t i = 0; rule != nullptr && i < rule->children.size(); ++i) {
        if (NameOf(rule->children[i]) == selector) {
            if (const Element* group = FindName(&rule->children[i], name)) {
                return GroupOf(group, selector);
            }
        }
    }
    return {};
}

Group FlangeGroup(const Element* rule, const CString& kind, const CString& selector, const CString& name) {
    Group last;
    const Element* place = FindName(rule, kind);
    for (std::size_t i = 0; place != nullptr && i < place->children.size(); ++i) {
        for (const Element& group : place->children[i].children) {
            if (NameOf(place->children[i]) == selector && NameOf(group) == name) {
                last = GroupOf(&group, selector);
            }
        }
    }
    return last;
}

void AddLinks(const Element* rule, Answers& answers) {
    const Element* rules = FindTag(rule, u"checkrules");
    for (std::size_t i = 0; rules != nullptr && i < rules->children.size(); ++i) {
        std::vector<CString> names;
        std::pair<CString, std::vector<CString>> link;
        for (const Element& part : rules->children[i].children) {
            if (part.tag == u"default") {
                link.first = norvex::xml::TextOf(part);
            }
            for (const Element& value : part.children) {
                if (part.tag == u"names") {
                    names.push_back(norvex::xml::TextOf(value));
                } else if (part.tag == u"availables") {
                    link.second.push_back(norvex::xml::TextOf(value));
                }
            }
        }
        for (const CString& name : names) {
            if (rules->children[i].tag == u"item") {
                answers.links.insert({name, link});
            }
        }
    }
}

Answers NaiveAnswers(const Element* root) {
    Answers answers;
    answers.isValid = root != nullptr;
    AddLinks(RuleOf(root, u"CCheckPipeLinkInvalid"), answers);
    const Element* diameter = RuleOf(root, u"CCheckPipeDiameter");
    const Element* flange = RuleOf(root, u"CCheckLayoutFlange");
    for (const CString& selector : Selectors()) {
        answers.groups.push_back(DiameterGroup(diameter, selector, u"attachment"));
        answers.groups.push_back(DiameterGroup(diameter, selector, u"pipe"));
        for (const CString& kind : {CString(u"equipment"), CString(u"waterbox")}) {
            answers.groups.push_back(FlangeGroup(flange, kind, selector, u"equipment"));
            answers.groups.push_back(FlangeGroup(flange, kind, selector, u"pipe"));
        }
        for (const CString& className : ClassNames()) {
            const Element* items = FindTag(RuleOf(root, className), u"checkitems");
            answers.groups.push_back(GroupOf(FindName(items, selector), selector));
        }
    }
    return answers;
}

// ---- The same document in another encoding ----

void WriteEscaped(const CString& text, std::string& out) {
    for (const char unit : norvex::text::ToUtf8(text)) {
        switch (unit) {
            case '<':
                out += "&lt;";
                break;
            case '&':
                out += "&amp;";
                break;
            case '"':
            case '>':
            case '\t':
            case '\n':
            case '\r':
                out += "&#" + std::to_string(static_cast<int>(unit)) + ";";
                break;
            default:
                out += unit;
        }
    }
}

void WriteElement(const Element& element, std::string& out) {
    const std::string tag = norvex::text::ToUtf8(element.tag);
    out += "<" + tag;
    for (const norvex::xml::Attribute& attribute : element.attributes) {
        out += " " + norvex::text::ToUtf8(attribute.name) + "=\"";
        WriteEscaped(attribute.value, out);
        out += "\"";
    }
    out += ">";
    std::size_t child = 0;
    for (const norvex::xml::TextPiece& piece : element.texts) {
        for (; child < piece.childrenBefore; ++child) {
            WriteElement(element.children[child], out);
        }
        WriteEscaped(piece.text, out);
    }
    for (; child < element.children.size(); ++child) {
        WriteElement(element.children[child], out);
    }
    out += "</" + tag + ">";
}

// ---- The file ----

class ConfigurationFile {
  public:
    ConfigurationFile() : m_file(m_folder.Path() / "NorvexConfig.xml") {
        const CString folder = norvex::kernel::FromNativePath(m_folder.Path().native());
        norvex::profile::SetDirectories({folder, folder});
        norvex::datamng::ProjectData project;
        project.AddSmallCategory(u"给排水", u"管线", u"管道");
        project.AddSmallCategory(u"给排水", u"管线", u"水管");
        norvex::datamng::SetCurrentProject(project);
    }

    // What the parsers say when the file holds these bytes.
    Answers AnswersFor(std::string_view bytes) const {
        m_file.Replace(bytes);
        norvex::test::ForgetConfiguration();
        return Ask();
    }

  private:
    MemoryFolder m_folder;
    MemoryFile m_file;
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const ConfigurationFile& file = *new ConfigurationFile();
    const std::string_view bytes = TextOf(data, size);
    const Answers answers = file.AnswersFor(bytes);
    const norvex::xml::ParseResult parsed = norvex::xml::Parse(bytes);
    Require(parsed.root != nullptr || (parsed.line >= 1 && !parsed.sentence.empty()),
            "what cannot be read says where and why");
    Require(answers == NaiveAnswers(parsed.root.get()), "the parsers say what the naive twin says");
    if (parsed.root != nullptr) {
        std::string written;
        WriteElement(*parsed.root, written);
        // One of the encodings for each input; which one follows from the input.
        const auto encoding = static_cast<Encoding>(size % 3);
        Require(file.AnswersFor(ToEncoding(written, encoding)) == answers, "each encoding gives the same answers");
    }
    return 0;
}
