// SPDX-License-Identifier: Apache-2.0
#include <algorithm>
#include <map>
#include <vector>

#include "norvexdata/config/CheckPipeLinkConfigParser.h"
#include "platform/zrow/ZrOwLines.h"
#include "sdk/rule/Joints.h"
#include "sdk/rule/Rule.h"

namespace {

using norvex::rule::Context;
using norvex::rule::NominalDiameterOf;
using norvex::rule::Quoted;
using LinkType = CheckPipeLinkConfigParser::LinkType;

// See pipe-diameter: often enough to cancel, rarely enough to cost nothing.
constexpr int kProgressStep = 256;

// The words of the models' own enumeration for ends of pipes, as the configuration has them. OUTSIDESLEEVE is a socket.
CString Translated(const CString& word) {
    static const std::map<CString, CString> words{{u"THREADED", L"螺纹连接"},      {u"GROOVED", L"沟槽连接"},
                                                  {u"FLANGED", L"法兰连接"},       {u"WELDED", L"焊接"},
                                                  {u"SOLDERED", L"钎焊"},          {u"COMPRESSION", L"卡压连接"},
                                                  {u"OUTSIDESLEEVE", L"承插连接"}, {u"SWEDGE", L"扩口连接"}};
    const auto found = words.find(word);
    return found == words.end() ? word : found->second;
}

// One pipe with what the configuration says of its kind.
struct Pipe {
    ZrOwEntity* entity = nullptr;
    CString kind;
    const LinkType* linkType = nullptr;
};

class Configuration {
  public:
    // The kind that a detail name names: the longest one in it, else the sub-category when that is a kind. Null: none.
    const std::pair<const CString, LinkType>* KindOf(const CString& detailName, const CString& subCategory) const {
        const std::pair<const CString, LinkType>* longest = nullptr;
        for (const auto& rule : m_rules) {
            const bool longer = longest == nullptr || rule.first.GetLength() > longest->first.GetLength();
            if (!rule.first.IsEmpty() && longer && detailName.Find(rule.first) >= 0) {
                longest = &rule;
            }
        }
        const auto bySubCategory = m_rules.find(subCategory);
        return longest != nullptr || bySubCategory == m_rules.end() ? longest : &*bySubCategory;
    }

    // Link types that a pipe states, in the configuration's words.
    std::vector<CString> StatedBy(const ZrOwEntity& pipe) const {
        for (const CString& property : m_properties) {
            const CString stated = norvex::rule::TextOf(pipe, property);
            std::vector<CString> links;
            int start = 0;
            for (CString word = stated.Tokenize(u",", start); start >= 0; word = stated.Tokenize(u",", start)) {
                links.push_back(Translated(word));
            }
            if (!links.empty()) {
                return links;
            }
        }
        return {};
    }

    // The largest nominal diameter, in mm, with which a kind may have a link type; 0 for any.
    double LargestDiameter(const CString& kind, const CString& link) const {
        const auto limits = m_parser.CheckItems(kind);
        const auto limit = limits.find(link);
        return limit == limits.end() || limit->second.empty() ? 0.0 : norvex::rule::NumberIn(*limit->second.begin());
    }

  private:
    std::vector<CString> Properties() const {
        std::vector<CString> properties;
        for (const auto& [name, values] : m_parser.CheckItems(u"property")) {
            properties.push_back(name);
        }
        return properties.empty() ? std::vector<CString>{kPropertyConnectionType} : properties;
    }

    CheckPipeLinkConfigParser m_parser;
    const std::map<CString, LinkType> m_rules = m_parser.CheckRules();
    std::vector<CString> m_properties = Properties();
};

CString Joined(const std::vector<CString>& words) {
    CString joined;
    for (const CString& word : words) {
        joined += joined.IsEmpty() ? word : u", " + word;
    }
    return joined;
}

class CCheckPipeLinkInvalid final : public norvex::rule::Rule {
  public:
    CCheckPipeLinkInvalid()
        : Rule(
              {.strName = u"CCheckPipeLinkInvalid",
               .strShortName = u"pipe-link",
               .strTitle = u"Link types of pipes",
               .strCategory = STR_CHECK_ATTRIBUTE_PLAUSIBILITY,
               .strVersion = {},
               .vecSpecialties = {STR_SPEC_WATER, STR_SPEC_FIRE_PROTECTION, STR_SPEC_HVAC},
               .strWhy =
                   u"The joint decides which pressure and temperature a line bears, which fittings are bought and "
                   u"how long the work takes. Quantities of couplings, flanges and welds are taken off the link "
                   u"type; one wrong type makes the list wrong.",
               .strHowToFix = u"Join the pipe as the finding says is permitted, or correct what the model says of its "
                              u"ends. If the joint is permitted in this project, add its link type to the kind's "
                              u"availables in NorvexConfig.xml.",
               .strWhat = u"Pipes that are joined in a way that their kind does not permit, such as a large sprinkler "
                          u"main with threads. The configuration says which kinds there are and what each permits, and "
                          u"how a pipe is joined that does not say it; all other pipes are no concern of the rule.",
               .strSeverity =
                   u"Suspected, because the pipe may be right and the list of what is permitted too short."}) {}

  private:
    void Run(Context& context) override {
        const Configuration configuration;
        const std::vector<Pipe> pipes = PipesOf(context, configuration);
        context.NotExaminedWithoutPlace(
            [&](const CString& category, const CString& subCategory, const CString& detailName) {
                const auto* kind = configuration.KindOf(detailName, subCategory);
                return category == STR_CATEGORY_PIPELINE && kind != nullptr && !kind->second.vecAvailables.empty();
            });
        int done = 0;
        for (const Pipe& pipe : pipes) {
            CheckPipe(context, configuration, pipe);
            if (++done % kProgressStep == 0 && !context.GoOn(done, static_cast<int>(pipes.size()))) {
                return;
            }
        }
    }

    // The runs whose kind the configuration names and allows anything.
    static std::vector<Pipe> PipesOf(const Context& context, const Configuration& configuration) {
        std::vector<Pipe> pipes;
        const CategoryMap& entities = context.Entities();
        const auto runs = entities.find(STR_CATEGORY_PIPELINE);
        if (runs == entities.end()) {
            return pipes;
        }
        for (const auto& [subCategory, records] : runs->second) {
            for (const SAttEntPtr& record : records) {
                const auto* kind = configuration.KindOf(record.strDetailName, subCategory);
                if (kind == nullptr || kind->second.vecAvailables.empty()) {
                    continue;
                }
                for (ZrOwEntity* entity : record.vecEntPtr) {
                    pipes.push_back({entity, kind->first, &kind->second});
                }
            }
        }
        return pipes;
    }

    static void CheckPipe(Context& context, const Configuration& configuration, const Pipe& pipe) {
        std::vector<CString> links = configuration.StatedBy(*pipe.entity);
        const bool isDefault = links.empty();
        if (isDefault && !pipe.linkType->strDefault.IsEmpty()) {
            links.push_back(pipe.linkType->strDefault);
        }
        if (links.empty()) {
            context.NotExamined(1, u"neither the model nor the configuration says how they are joined");
            return;
        }
        context.Examined(1);
        for (const CString& link : links) {
            const CString problem = ProblemWith(configuration, pipe, link);
            if (!problem.IsEmpty()) {
                Report(context, pipe, problem, isDefault);
                return;
            }
        }
    }

    // A clause; empty when the pipe may be joined so.
    static CString ProblemWith(const Configuration& configuration, const Pipe& pipe, const CString& link) {
        CString problem;
        const std::vector<CString>& permitted = pipe.linkType->vecAvailables;
        if (std::find(permitted.begin(), permitted.end(), link) == permitted.end()) {
            problem.Format(u"is joined by %s, which is not permitted for %s (permitted: %s)", link, pipe.kind,
                           Joined(permitted));
            return problem;
        }
        const double largest = configuration.LargestDiameter(pipe.kind, link);
        const double diameter = NominalDiameterOf(*pipe.entity);
        if (largest > 0.0 && diameter > largest) {
            problem.Format(u"has DN%g and is joined by %s, which is permitted for %s up to DN%g only", diameter, link,
                           pipe.kind, largest);
        }
        return problem;
    }

    static void Report(Context& context, const Pipe& pipe, const CString& problem, bool isDefault) {
        CString sentence;
        sentence.Format(u"%s %s, %s. %s", Quoted(*pipe.entity), problem,
                        norvex::rule::WhereClause({pipe.entity}, context.Floor()),
                        isDefault ? CString(u"The model does not say how it is joined; this is the configuration's "
                                            u"default. State it, or change the configuration.")
                                  : CString(u"Join it as permitted, or correct what the model says."));
        context.Report({.subCategory = L"管道连接方式错误",
                        .severity = STR_ERR_SUSPECTED,
                        .sentence = sentence,
                        .objects = {pipe.entity},
                        .repair = STR_REPAIR_PIPE_CONNECTION});
    }
};

}  // namespace

NORVEX_RULE_MODULE(CCheckPipeLinkInvalid)
