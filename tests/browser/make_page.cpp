// SPDX-License-Identifier: Apache-2.0
#include "ifc/Reader.h"
#include "page/SyntheticBuilding.h"
#include "report/RunPage.h"
#include "report/page/WritePage.h"
#include "service/IfcFloors.h"

#include <filesystem>
#include <fstream>
#include <iostream>
#include <string>

// Writes the pages that the browser tests open: make_page showcase|large|empty FILE, or make_page model.ifc FILE for
// the plan of a real model without findings.
// Prints some of the elements, so that the tests can look for them: handle, GlobalId, name and class, parted by tabs.
namespace {

bool WriteModel(const std::string& path, std::ostream& out) {
    const norvex::ifc::ReadResult read = norvex::ifc::ReadIfcFile(path);
    if (!read.Ok()) {
        return false;
    }
    norvex::service::RunReport report;
    report.model = norvex::service::RecordOf(*read.model, path);
    const norvex::service::IfcFloors floors(*read.model);
    norvex::report::page::WritePage(norvex::report::MakeRunPage(report, *read.model, floors.Floors()).model, out);
    return true;
}

}  // namespace

int main(int count, char** arguments) {
    if (count != 3) {
        std::cerr << "usage: make_page showcase|large|empty|model.ifc FILE\n";
        return 2;
    }
    const std::string kind = arguments[1];
    norvex::tests::SyntheticBuilding building;
    if (kind.ends_with(".ifc")) {
        std::ofstream file(arguments[2], std::ios::binary);
        return WriteModel(kind, file) && file.flush() ? 0 : 1;
    }
    if (kind == "showcase") {
        building = norvex::tests::MakeShowcase();
    } else if (kind == "large") {
        building = norvex::tests::MakeBuilding(200000, 1, 2000);  // one floor: the hardest case
    } else if (kind != "empty") {
        std::cerr << "no page is called " << kind << '\n';
        return 2;
    }
    std::ofstream file(arguments[2], std::ios::binary);
    norvex::report::page::WritePage(building.model, file);
    file.close();
    const auto& elements = building.model.elements;
    for (std::size_t index = 0; index < elements.size(); index += elements.size() / 10) {
        const auto& element = elements[index];
        std::cout << element.handle << '\t' << element.globalId << '\t' << element.name << '\t' << element.className
                  << '\n';
    }
    return file ? 0 : 1;
}
