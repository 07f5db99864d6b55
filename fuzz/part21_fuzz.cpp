// SPDX-License-Identifier: Apache-2.0
#include "ifc/Reader.h"
#include "ifc/part21/ExchangeFile.h"
#include "ifc/part21/Text.h"

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <span>
#include <string>
#include <string_view>

// Whatever the bytes are, the reader gives an error with a place or a model that holds together.

namespace {

void Require(bool holds, const char* what) {
    if (!holds) {
        std::fprintf(stderr, "broken promise: %s\n", what);
        std::abort();
    }
}

void CheckIndex(std::string_view text) {
    using namespace norvex::ifc;
    DiagnosticLog log(text, 20);
    part21::ExchangeFile file;
    if (file.Read(text, log)) {
        return;
    }
    for (std::uint32_t i = 0; i < file.InstanceCount(); ++i) {
        const std::uint32_t found = file.Find(file.Id(i));
        Require(found != part21::kNoInstance && found <= i && file.Id(found) == file.Id(i),
                "an instance is found by its number, the first one of each");
        Require(file.Offset(i) < text.size() && text[file.Offset(i)] == '#', "an instance begins at a #");
        part21::ValueCursor arguments = file.Arguments(i);
        std::size_t count = 0;
        for (part21::Value value = arguments.Next(); value.kind != part21::ValueKind::Missing;
             value = arguments.Next()) {
            Require(++count <= text.size(), "the walk over arguments ends");
            const std::string decoded = value.Text();
            Require(part21::DecodeText(decoded).size() <= 3 * decoded.size(), "decoding does not blow up");
            const std::uint32_t target = value.Reference();
            Require(target == 0 || file.Find(target) == part21::kNoInstance || file.Id(file.Find(target)) == target,
                    "a reference finds its own number");
        }
    }
    for (const Diagnostic& one : log.Take()) {
        Require(one.offset <= text.size() && !one.sentence.empty(), "a diagnostic has a place and a sentence");
    }
}

void CheckModel(std::string_view text) {
    using namespace norvex::ifc;
    const ReadResult result = ReadIfcBytes(std::as_bytes(std::span(text.data(), text.size())));
    if (!result.Ok()) {
        Require(result.error.code != DiagnosticCode::None && !result.error.sentence.empty(),
                "an error says what it is");
        return;
    }
    const BuildingModel& model = *result.model;
    for (const Element& element : model.elements) {
        Require(element.storey == kNoIndex || element.storey < model.storeys.size(), "storeys exist");
        Require(IsFinite(element.start) && IsFinite(element.end) && IsFinite(element.position), "points are numbers");
        Require(!element.specialty.empty() && !element.detailName.empty(), "every element has its path");
        Require(element.startJunction == kNoIndex || element.startJunction < model.junctions.size(), "junctions exist");
    }
    for (const Connection& connection : model.connections) {
        Require(connection.first < model.elements.size() && connection.second < model.elements.size() &&
                    connection.first != connection.second,
                "a connection joins two elements");
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view text(reinterpret_cast<const char*>(data), size);
    CheckIndex(text);
    CheckModel(text);
    return 0;
}
