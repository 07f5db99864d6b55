// SPDX-License-Identifier: Apache-2.0
#include "page/SyntheticBuilding.h"
#include "report/page/WritePage.h"

#include <fstream>
#include <iostream>
#include <string>

// Writes pages that no run on a sample can give: make_page showcase|large|empty FILE.
// Prints some of the elements, so that the tests can look for them: handle, GlobalId, name and class, parted by tabs.
int main(int count, char** arguments) {
    if (count != 3) {
        std::cerr << "usage: make_page showcase|large|empty FILE\n";
        return 2;
    }
    const std::string kind = arguments[1];
    norvex::tests::SyntheticBuilding building;
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
