// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>

#include <functional>
#include <nlohmann/json.hpp>
#include <set>

#include "report/bcf/Identity.h"
#include "report/sarif/CheckSarif.h"
#include "tests/report/SampleReport.h"
#include "tests/report/SarifSchema.h"

namespace {

using Json = nlohmann::json;
using norvex::report::CheckSarif;
using norvex::report::Times;
using norvex::service::RunReport;
using norvex::test::SampleReport;
using norvex::test::SarifErrors;

Json RunOf(const RunReport& report) {
    return Json::parse(CheckSarif(report))["runs"][0];
}

TEST(Sarif, IsValidWhateverTheModelSays) {
    NORVEX_REQUIRE_SHARED(norvex::test::kSarifSchema);
    EXPECT_EQ(SarifErrors(CheckSarif(SampleReport())), "");
    EXPECT_EQ(SarifErrors(CheckSarif(SampleReport(), Times::Show)), "");
    EXPECT_EQ(SarifErrors(CheckSarif(RunReport())), "") << "a run in which nothing was there";
}

TEST(Sarif, IsHeldToTheSchemaByTheseTests) {
    NORVEX_REQUIRE_SHARED(norvex::test::kSarifSchema);
    const std::vector<std::function<void(Json&)>> faults = {
        [](Json& log) { log.erase("version"); },
        [](Json& log) { log["runs"][0]["results"][0]["level"] = "suspected"; },
        [](Json& log) { log["runs"][0]["results"][0].erase("message"); },
        [](Json& log) { log["runs"][0]["results"][0]["guid"] = "1"; },
        [](Json& log) { log["runs"][0]["results"][2]["suppressions"][0]["kind"] = "trusted"; },
        [](Json& log) { log["runs"][0]["invocations"][0].erase("executionSuccessful"); },
        [](Json& log) { log["runs"][0]["artifacts"][0]["location"]["uri"] = "models/house 1.ifc"; }};
    const Json valid = Json::parse(CheckSarif(SampleReport()));
    for (std::size_t index = 0; index < faults.size(); ++index) {
        Json log = valid;
        faults[index](log);
        EXPECT_NE(SarifErrors(log.dump()), "") << index;
    }
}

TEST(Sarif, GivesSeverityAsLevel) {
    const Json results = RunOf(SampleReport())["results"];
    EXPECT_EQ(results[0]["level"], "warning");
    EXPECT_EQ(results[1]["level"], "note");
    EXPECT_EQ(results[2]["level"], "error");
}

TEST(Sarif, CarriesTheFeatureCodeAsFingerprintAndTheIdentityOfTopics) {
    const Json results = RunOf(SampleReport())["results"];
    const std::string code = "_" + std::string(32, 'c');
    std::set<std::string> guids;
    for (std::size_t index = 0; index < 3; ++index) {
        EXPECT_EQ(results[index]["partialFingerprints"]["norvexFeatureCode/v1"], code);
        EXPECT_EQ(results[index]["partialFingerprints"]["norvexOccurrence/v1"], std::to_string(index));
        EXPECT_EQ(results[index]["correlationGuid"], norvex::report::bcf::TopicGuid(code, index));
    }
    for (const Json& result : results) {
        EXPECT_TRUE(guids.insert(result["guid"].get<std::string>()).second);
    }
}

TEST(Sarif, KeepsIdentitiesFromRunToRun) {
    RunReport next = SampleReport();
    next.run = 13;
    next.comparison->run = 12;
    const Json before = RunOf(SampleReport());
    const Json now = RunOf(next);
    EXPECT_EQ(now["results"][0]["correlationGuid"], before["results"][0]["correlationGuid"]);
    EXPECT_NE(now["results"][0]["guid"], before["results"][0]["guid"]);
    EXPECT_NE(now["automationDetails"]["guid"], before["automationDetails"]["guid"]);
    EXPECT_EQ(now["baselineGuid"], before["automationDetails"]["guid"]) << "the run that this one was compared with";
    EXPECT_EQ(CheckSarif(SampleReport()), CheckSarif(SampleReport()));
}

TEST(Sarif, CarriesTrustAsAcceptedSuppression) {
    RunReport report = SampleReport();
    report.findings[2].acceptance->reason = "Heated floor.";
    const Json results = RunOf(report)["results"];
    EXPECT_EQ(results[0]["suppressions"], Json::array()) << "not suppressed, and says so";
    ASSERT_EQ(results[2]["suppressions"].size(), 1U);
    const Json suppression = results[2]["suppressions"][0];
    EXPECT_EQ(suppression["kind"], "external");
    EXPECT_EQ(suppression["status"], "accepted");
    EXPECT_EQ(suppression["justification"], "Heated floor. (Li \"Wei\", 2026-02-28; until 2027-01-01)");
    report.findings[2].acceptance->expiresOn.clear();
    EXPECT_EQ(RunOf(report)["results"][2]["suppressions"][0]["justification"],
              "Heated floor. (Li \"Wei\", 2026-02-28; does not expire)");
}

TEST(Sarif, SaysWhatIsNewUnchangedAndAbsent) {
    const Json results = RunOf(SampleReport())["results"];
    ASSERT_EQ(results.size(), 4U);
    EXPECT_EQ(results[0]["baselineState"], "new");
    EXPECT_EQ(results[1]["baselineState"], "unchanged");
    EXPECT_FALSE(results[2].contains("baselineState"));
    EXPECT_EQ(results[3]["baselineState"], "absent");
    EXPECT_EQ(results[3]["message"]["text"], "A ring that is gone.");
}

TEST(Sarif, TellsWhatWasNotChecked) {
    const Json invocation = RunOf(SampleReport())["invocations"][0];
    EXPECT_EQ(invocation["executionSuccessful"], false);
    std::vector<std::string> kinds;
    for (const Json& notification : invocation["toolExecutionNotifications"]) {
        kinds.push_back(notification["descriptor"]["id"]);
    }
    EXPECT_EQ(kinds, (std::vector<std::string>{"incomplete", "not-examined", "crashed", "cancelled", "skipped",
                                               "not-compared", "not-compared", "not-compared", "trust-expired"}));
    RunReport complete = SampleReport();
    complete.incomplete.clear();
    EXPECT_EQ(RunOf(complete)["invocations"][0]["executionSuccessful"], true);
}

// Every reference in the log, by what it refers to.
TEST(Sarif, RefersOnlyToWhatIsThere) {
    const Json run = RunOf(SampleReport());
    const Json& rules = run["tool"]["driver"]["rules"];
    const Json& places = run["logicalLocations"];
    const auto expectPlaces = [&](const Json& location) {
        for (const Json& place : location["logicalLocations"]) {
            const Json& target = places.at(place["index"].get<std::size_t>());
            if (target["kind"] == "object") {
                EXPECT_EQ(places.at(target["parentIndex"].get<std::size_t>())["kind"], "floor");
            } else {
                EXPECT_EQ(place["fullyQualifiedName"], target["fullyQualifiedName"]);
                EXPECT_EQ(location["physicalLocation"]["artifactLocation"]["uri"],
                          run["artifacts"][0]["location"]["uri"]);
            }
        }
    };
    for (const Json& result : run["results"]) {
        EXPECT_EQ(rules.at(result["ruleIndex"].get<std::size_t>())["id"], result["ruleId"]);
        EXPECT_EQ(result["relatedLocations"].size(), 2U);
        for (const char* name : {"locations", "relatedLocations"}) {
            std::for_each(result[name].begin(), result[name].end(), expectPlaces);
        }
    }
    std::set<std::string> known;
    for (const Json& kind : run["tool"]["driver"]["notifications"]) {
        known.insert(kind["id"].get<std::string>());
    }
    for (const Json& notification : run["invocations"][0]["toolExecutionNotifications"]) {
        EXPECT_TRUE(known.contains(notification["descriptor"]["id"].get<std::string>()));
        if (notification.contains("associatedRule")) {
            const Json& rule = notification["associatedRule"];
            EXPECT_EQ(rules.at(rule["index"].get<std::size_t>())["id"], rule["id"]);
            expectPlaces(notification["locations"][0]);
        }
    }
}

TEST(Sarif, ExplainsItsRules) {
    const Json rule = RunOf(SampleReport())["tool"]["driver"]["rules"][0];
    EXPECT_EQ(rule["id"], "pipe-loop");
    EXPECT_EQ(rule["name"], "CCheckPipeLoop");
    EXPECT_EQ(rule["fullDescription"]["text"], "A tree of pipes must not close a ring.");
    EXPECT_EQ(rule["help"]["text"], "A tree of pipes must not close a ring.\n\nRemove the pipe that is drawn twice.");
}

TEST(Sarif, TellsTimesOnlyWhenAsked) {
    EXPECT_EQ(CheckSarif(SampleReport()).find("startTimeUtc"), std::string::npos);
    const Json log = Json::parse(CheckSarif(SampleReport(), Times::Show));
    EXPECT_EQ(log["runs"][0]["invocations"][0]["startTimeUtc"], "2026-03-01T08:30:00Z");
}

TEST(Sarif, MakesUriReferencesOfPaths) {
    using norvex::report::UriOfPath;
    EXPECT_EQ(UriOfPath("models/house.ifc"), "models/house.ifc");
    EXPECT_EQ(UriOfPath("/data/my house.ifc"), "file:///data/my%20house.ifc");
    EXPECT_EQ(UriOfPath("给.ifc"), "%E7%BB%99.ifc");
    EXPECT_EQ(UriOfPath("a%b#c?.ifc"), "a%25b%23c%3F.ifc");
    EXPECT_EQ(UriOfPath("a:b.ifc"), "./a:b.ifc");
    EXPECT_EQ(UriOfPath("x/a:b.ifc"), "x/a:b.ifc");
    EXPECT_EQ(UriOfPath("\xFF.ifc"), "%FF.ifc");
    EXPECT_EQ(UriOfPath("//a/b.ifc"), "file:////a/b.ifc");
}

TEST(Sarif, TakesTextOfTheModelForNeitherPlaceholdersNorLinks) {
    using norvex::report::SarifMessageText;
    EXPECT_EQ(SarifMessageText("plain [1] <b>"), "plain [1] <b>");
    EXPECT_EQ(SarifMessageText("{0}"), "{{0}}");
    EXPECT_EQ(SarifMessageText("[click](http://evil)"), "\\[click\\](http://evil)");
}

}  // namespace
