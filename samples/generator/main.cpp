// SPDX-License-Identifier: Apache-2.0
#include "samples/generator/Generator.h"

#include <CLI/CLI.hpp>

#include <filesystem>
#include <fstream>
#include <iostream>

namespace {

using namespace norvex::samples;

constexpr int kWrongUse = 2;

// Returns: the plants that the words name; the second says what is wrong with them, empty when nothing is.
std::pair<std::set<Plant>, std::string> ChosenPlants(const std::vector<std::string>& words) {
    std::set<Plant> chosen;
    for (const std::string& word : words) {
        if (word == "none") {
            chosen.clear();
        } else if (word == "all") {
            for (const PlantInfo& info : Plants()) {
                chosen.insert(info.plant);
            }
        } else if (const auto plant = PlantByName(word)) {
            chosen.insert(*plant);
        } else {
            return {{}, "There is no defect called '" + word + "'; --list-defects names them all."};
        }
    }
    return {chosen, ""};
}

bool WriteText(const std::filesystem::path& path, const std::string& text) {
    std::ofstream out(path, std::ios::binary);
    out << text;
    out.close();
    return !out.fail();
}

void ListDefects() {
    for (const PlantInfo& info : Plants()) {
        std::cout << info.name << std::string(22 - info.name.size(), ' ') << info.sentence << "\n";
    }
}

int Fail(const std::string& sentence) {
    std::cerr << "norvex-sample: " << sentence << "\n";
    return kWrongUse;
}

struct Request {
    Options options;
    std::vector<std::string> defects;
    std::string output;
    std::string expected;
    std::string others;
    std::string unit = "mm";
    std::string ports = "nested";
    bool listDefects = false;
    bool noPorts = false;
};

void Describe(CLI::App& app, Request& request) {
    Options& options = request.options;
    app.add_option("--floors", options.floors, "Number of storeys")->check(CLI::Range(1, 200))->capture_default_str();
    CLI::Option* bays = app.add_option("--bays", options.bays, "Number of bays on each floor")
                            ->check(CLI::Range(1, 100))
                            ->capture_default_str();
    app.add_option("--size", options.size, "About how many elements, in as many wings and bays as that takes")
        ->excludes(bays)
        ->check(CLI::Range(std::size_t{1}, std::size_t{20000000}));
    app.add_option("--defects", request.defects, "What to plant: names, 'all' or 'none'")
        ->delimiter(',')
        ->type_name("NAME,...");
    app.add_flag("--list-defects", request.listDefects, "Say what can be planted");
    app.add_option("--unit", request.unit, "Length unit of the file: mm or m")
        ->check(CLI::IsMember({"mm", "m"}))
        ->type_name("UNIT")
        ->capture_default_str();
    app.add_option("--ports", request.ports, "How ports are tied to their elements: nested or related")
        ->check(CLI::IsMember({"nested", "related"}))
        ->type_name("HOW")
        ->capture_default_str();
    app.add_flag("--no-ports", request.noPorts, "Write shapes only: no ports, no stated connections");
    app.add_option("--seed", options.seed, "Another building of the same shape: other GlobalIds");
    app.add_option("-o,--output", request.output, "The IFC file to write");
    app.add_option("--expected", request.expected, "Also write what a check for loops must find, and what it must not");
    app.add_option("--others", request.others, "Also write what was planted for other checks");
}

// Takes the words of the request over into its options. Returns: what is wrong with them; empty when nothing is.
std::string Settle(Request& request) {
    Options& options = request.options;
    if (request.output.empty()) {
        return "Say with -o where to write.";
    }
    auto [plants, wrong] = ChosenPlants(request.defects);
    if (!wrong.empty()) {
        return wrong;
    }
    if (options.floors < 2 && plants.contains(Plant::StoreyLoop)) {
        return "The defect storey-loop needs two floors.";
    }
    options.plants = std::move(plants);
    options.unit = request.unit == "m" ? LengthUnit::Metre : LengthUnit::Millimetre;
    options.ports = request.ports == "related" ? PortStyle::Related : PortStyle::Nested;
    if (request.noPorts) {
        options.ports = PortStyle::None;
    }
    options.fileName = std::filesystem::path(request.output).filename().string();
    return {};
}

// Returns: the exit code.
int Write(const Request& request) {
    std::ofstream out(request.output, std::ios::binary);
    const Summary summary = Generate(request.options, out);
    out.close();
    if (out.fail()) {
        return Fail("Cannot write " + request.output + ".");
    }
    if (!request.expected.empty() && !WriteText(request.expected, ExpectationTable(summary.expectations, false))) {
        return Fail("Cannot write " + request.expected + ".");
    }
    if (!request.others.empty() && !WriteText(request.others, ExpectationTable(summary.expectations, true))) {
        return Fail("Cannot write " + request.others + ".");
    }
    std::cout << request.output << ": " << summary.elements << " elements in " << summary.instances << " instances, "
              << summary.expectations.size() << " expectations\n";
    return 0;
}

}  // namespace

int main(int argc, char** argv) {
    CLI::App app{"Writes a small building with its services as an IFC4 file. The same options give the same bytes."};
    Request request;
    Describe(app, request);
    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError& error) {
        return app.exit(error) == 0 ? 0 : kWrongUse;
    }
    if (request.listDefects) {
        ListDefects();
        return 0;
    }
    if (const std::string wrong = Settle(request); !wrong.empty()) {
        return Fail(wrong);
    }
    return Write(request);
}
