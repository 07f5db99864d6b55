// SPDX-License-Identifier: Apache-2.0
#include "platform/datamng/ProjectFile.h"

#include "platform/kernel/FileSystem.h"
#include "platform/kernel/WholeFile.h"
#include "platform/text/Utf8.h"
#include "platform/xml/XmlDocument.h"

#include <algorithm>
#include <charconv>
#include <initializer_list>
#include <set>
#include <utility>

namespace norvex::datamng {

namespace {

using xml::Element;

// Ids are 32 bits wide, as wide as the host's own.
constexpr long kLargestId = 2'147'483'647;

// What stops the reading, with the element that is to blame.
struct Fault {
    int line;
    std::string sentence;
};

[[noreturn]] void Fail(const Element& element, const std::string& sentence) {
    throw Fault{element.line, sentence};
}

std::string Quoted(const CString& text) {
    return "\"" + text::ToUtf8(text) + "\"";
}

void ExpectTag(const Element& element, const wchar_t* tag, const char* where) {
    if (element.tag != tag) {
        Fail(element, "The element " + Quoted(element.tag) + " is not known " + where + ".");
    }
}

void ExpectAttributes(const Element& element, std::initializer_list<const wchar_t*> names) {
    for (const xml::Attribute& attribute : element.attributes) {
        if (std::ranges::none_of(names, [&](const wchar_t* name) { return attribute.name == name; })) {
            Fail(element, "The element " + Quoted(element.tag) + " has no attribute " + Quoted(attribute.name) + ".");
        }
    }
}

CString Required(const Element& element, const wchar_t* name) {
    const CString* value = element.FindAttribute(name);
    if (value == nullptr || value->IsEmpty()) {
        Fail(element, "The element " + Quoted(element.tag) + " needs the attribute " + Quoted(name) + ".");
    }
    return *value;
}

// Reads one document into data; throws Fault.
class Reader {
  public:
    ProjectData Read(const Element& root) {
        if (root.tag != L"projectData" || Required(root, L"version") != L"1") {
            Fail(root, "The document is not project data of version 1.");
        }
        ExpectAttributes(root, {L"version", L"specialty"});
        if (const CString* specialty = root.FindAttribute(L"specialty")) {
            m_data.currentSpecialty = *specialty;
        }
        for (const Element& child : root.children) {
            if (child.tag == L"specialty") {
                ReadSpecialty(child);
            } else if (child.tag == L"attribute") {
                ReadAttribute(child);
            } else {
                ExpectTag(child, L"calculation", "in project data");
                ReadCalculation(child);
            }
        }
        return std::move(m_data);
    }

  private:
    using Ids = std::set<long>;
    using Names = std::set<CString>;

    // The id that an element asks for; 0 when it asks for none.
    static long WantedId(const Element& element, Ids& taken) {
        const CString* text = element.FindAttribute(L"id");
        if (text == nullptr) {
            return 0;
        }
        const std::string digits = text::ToUtf8(*text);
        long id = 0;
        const auto [end, error] = std::from_chars(digits.data(), digits.data() + digits.size(), id);
        if (error != std::errc() || end != digits.data() + digits.size() || id < 1 || id > kLargestId) {
            Fail(element, "The id " + Quoted(*text) + " is not a number from 1 to 2147483647.");
        }
        if (!taken.insert(id).second) {
            Fail(element, "The id " + digits + " is given twice to elements " + Quoted(element.tag) + ".");
        }
        return id;
    }

    static CString NewName(const Element& element, const wchar_t* attribute, Names& taken) {
        const CString name = Required(element, attribute);
        if (!taken.insert(name).second) {
            Fail(element, "The " + text::ToUtf8(element.tag) + " " + Quoted(name) + " stands there twice.");
        }
        return name;
    }

    void ReadSpecialty(const Element& element) {
        ExpectAttributes(element, {L"id", L"name"});
        const CString specialty = NewName(element, L"name", m_specialties);
        m_data.AddSpecialty(specialty, WantedId(element, m_specialtyIds));
        Names categories;
        for (const Element& child : element.children) {
            ExpectTag(child, L"category", "in a specialty");
            ReadCategory(child, specialty, categories);
        }
    }

    void ReadCategory(const Element& element, const CString& specialty, Names& categories) {
        ExpectAttributes(element, {L"id", L"name"});
        const CString category = NewName(element, L"name", categories);
        m_data.AddBigCategory(specialty, category, WantedId(element, m_categoryIds));
        Names subCategories;
        for (const Element& child : element.children) {
            ExpectTag(child, L"subCategory", "in a category");
            ExpectAttributes(child, {L"id", L"name"});
            const CString subCategory = NewName(child, L"name", subCategories);
            m_data.AddSmallCategory(specialty, category, subCategory, WantedId(child, m_subCategoryIds));
        }
    }

    void ReadAttribute(const Element& element) {
        ExpectAttributes(element, {L"id", L"path"});
        const CString path = NewName(element, L"path", m_attributes);
        m_data.AddAttribute(path, WantedId(element, m_attributeIds));
        Names values;
        for (const Element& child : element.children) {
            ExpectTag(child, L"value", "in an attribute");
            ExpectAttributes(child, {L"name"});
            m_data.SetAttributeValue(path, NewName(child, L"name", values), xml::TextOf(child));
        }
    }

    void ReadCalculation(const Element& element) {
        ExpectAttributes(element, {L"path"});
        const CString path = NewName(element, L"path", m_calculations);
        std::vector<CalculationItem> items;
        for (const Element& child : element.children) {
            ExpectTag(child, L"item", "in a calculation");
            ExpectAttributes(child, {L"name", L"flag"});
            items.push_back({Required(child, L"name"), Required(child, L"flag")});
        }
        m_data.SetCalculationItems(path, std::move(items));
    }

    ProjectData m_data;
    Ids m_specialtyIds, m_categoryIds, m_subCategoryIds, m_attributeIds;
    Names m_specialties, m_attributes, m_calculations;
};

ProjectReadResult Interpret(const xml::ParseResult& document, const CString& path) {
    if (document.root == nullptr) {
        return {std::nullopt, path, document.line, document.sentence};
    }
    try {
        return {Reader().Read(*document.root), path, 0, ""};
    } catch (const Fault& fault) {
        return {std::nullopt, path, fault.line, fault.sentence};
    }
}

// Whether an XML 1.0 document may hold the unit. Surrogates are looked at when UTF-8 is made.
bool IsAllowed(char16_t unit) {
    return (unit >= 0x20 && unit < 0xFFFE) || unit == u'\t' || unit == u'\n' || unit == u'\r';
}

// Text as it stands between tags or in a quoted attribute.
std::string Escaped(const CString& text) {
    std::u16string units;
    for (const char16_t unit : text::ViewToNul(text)) {
        switch (unit) {
            case u'&':
                units += u"&amp;";
                break;
            case u'<':
                units += u"&lt;";
                break;
            case u'>':
                units += u"&gt;";
                break;
            case u'"':
                units += u"&quot;";
                break;
            case u'\t':
                units += u"&#9;";
                break;
            case u'\n':
                units += u"&#10;";
                break;
            case u'\r':
                units += u"&#13;";
                break;
            default:
                units += IsAllowed(unit) ? unit : u'\xFFFD';
        }
    }
    return text::ToUtf8(text::ToCString(units));
}

std::string Named(const char* attribute, const CString& value) {
    return std::string(" ") + attribute + "=\"" + Escaped(value) + "\"";
}

std::string WithId(long id) {
    return " id=\"" + std::to_string(id) + "\"";
}

void WriteSpecialty(const Specialty& specialty, std::string& out) {
    out += "  <specialty" + WithId(specialty.id) + Named("name", specialty.name) + ">\n";
    for (const BigCategory& big : specialty.bigCategories) {
        out += "    <category" + WithId(big.id) + Named("name", big.name) + ">\n";
        for (const SmallCategory& small : big.smallCategories) {
            out += "      <subCategory" + WithId(small.id) + Named("name", small.name) + "/>\n";
        }
        out += "    </category>\n";
    }
    out += "  </specialty>\n";
}

}  // namespace

ProjectReadResult ReadProjectData(std::string_view bytes) {
    return Interpret(xml::Parse(bytes), CString());
}

ProjectReadResult ReadProjectFile(const CString& path) {
    return Interpret(xml::ParseFile(path), path);
}

ProjectReadResult LoadProject(const CString& folder, const CString& cataloguePath) {
    ProjectReadResult catalogue = ReadProjectFile(cataloguePath);
    if (!catalogue.data) {
        return catalogue;
    }
    const CString projectPath = folder + L"\\" + kProjectFileName;
    if (GetFileAttributesW(projectPath) != INVALID_FILE_ATTRIBUTES) {
        const ProjectReadResult project = ReadProjectFile(projectPath);
        if (!project.data) {
            return project;
        }
        catalogue.data->Merge(*project.data);
    }
    catalogue.data->folder = folder;
    return catalogue;
}

std::string WriteProjectData(const ProjectData& data) {
    std::string out = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<projectData version=\"1\"";
    if (!data.currentSpecialty.IsEmpty()) {
        out += Named("specialty", data.currentSpecialty);
    }
    out += ">\n";
    for (const Specialty& specialty : data.Specialties()) {
        WriteSpecialty(specialty, out);
    }
    for (const auto& [path, definition] : data.Attributes()) {
        out += "  <attribute" + WithId(definition.id) + Named("path", path) + ">\n";
        for (const auto& [name, value] : definition.values) {
            out += "    <value" + Named("name", name) + ">" + Escaped(value) + "</value>\n";
        }
        out += "  </attribute>\n";
    }
    for (const auto& [path, items] : data.CalculationItems()) {
        out += "  <calculation" + Named("path", path) + ">\n";
        for (const CalculationItem& item : items) {
            out += "    <item" + Named("name", item.name) + Named("flag", item.flag) + "/>\n";
        }
        out += "  </calculation>\n";
    }
    return out + "</projectData>\n";
}

bool WriteProjectFile(const CString& folder, const ProjectData& data) {
    return kernel::WriteWholeFile(folder + L"\\" + kProjectFileName, WriteProjectData(data));
}

}  // namespace norvex::datamng
