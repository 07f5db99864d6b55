// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <libxml/parser.h>
#include <libxml/xmlschemas.h>

#include <memory>
#include <string>

#include "support/SharedData.h"

namespace norvex::test {

// The first complaint about the document by one of the published schemas, such as "markup.xsd"; empty: it is valid.
inline std::string SchemaComplaint(const std::string& schema, const std::string& document) {
    const std::string path = (SharedDir() / "data" / "bcf-3.0" / schema).string();
    std::string complaint;
    const auto note = [](void* context, auto* error) {
        std::string& first = *static_cast<std::string*>(context);
        if (first.empty()) {
            first = error->message;
        }
    };
    const std::unique_ptr<xmlSchemaParserCtxt, void (*)(xmlSchemaParserCtxtPtr)> parser(
        xmlSchemaNewParserCtxt(path.c_str()), xmlSchemaFreeParserCtxt);
    const std::unique_ptr<xmlSchema, void (*)(xmlSchemaPtr)> compiled(xmlSchemaParse(parser.get()), xmlSchemaFree);
    const std::unique_ptr<xmlDoc, void (*)(xmlDocPtr)> parsed(
        xmlReadMemory(document.data(), static_cast<int>(document.size()), nullptr, nullptr, XML_PARSE_NONET),
        xmlFreeDoc);
    if (compiled == nullptr || parsed == nullptr) {
        return compiled == nullptr ? "the schema cannot be read" : "the document is not well-formed";
    }
    const std::unique_ptr<xmlSchemaValidCtxt, void (*)(xmlSchemaValidCtxtPtr)> validator(
        xmlSchemaNewValidCtxt(compiled.get()), xmlSchemaFreeValidCtxt);
    xmlSchemaSetValidStructuredErrors(
        validator.get(), [](void* context, xmlErrorPtr error) { decltype(note)()(context, error); }, &complaint);
    const int result = xmlSchemaValidateDoc(validator.get(), parsed.get());
    return result == 0 ? "" : complaint.empty() ? "not valid" : complaint;
}

}  // namespace norvex::test
