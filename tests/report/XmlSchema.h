// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <libxml/parser.h>
#include <libxml/xmlschemas.h>
#include <libxml/xpath.h>
#include <libxml/xpathInternals.h>

#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

namespace norvex::test {

template <auto Free>
struct Freer {
    template <typename T>
    void operator()(T* object) const {
        Free(object);
    }
};

using XmlDocument = std::unique_ptr<xmlDoc, Freer<xmlFreeDoc>>;

inline XmlDocument ParsedXml(const std::string& text) {
    return XmlDocument(xmlReadMemory(text.data(), static_cast<int>(text.size()), "document.xml", nullptr,
                                     XML_PARSE_NONET | XML_PARSE_NOERROR | XML_PARSE_NOWARNING));
}

// What an XML schema has against a document; empty when it is valid.
inline std::string SchemaErrors(const std::string& schemaPath, const std::string& text) {
    const std::unique_ptr<xmlSchemaParserCtxt, Freer<xmlSchemaFreeParserCtxt>> parser(
        xmlSchemaNewParserCtxt(schemaPath.c_str()));
    const std::unique_ptr<xmlSchema, Freer<xmlSchemaFree>> schema(xmlSchemaParse(parser.get()));
    if (!schema) {
        throw std::runtime_error("the schema " + schemaPath + " is none");
    }
    const XmlDocument document = ParsedXml(text);
    if (!document) {
        return "not well-formed";
    }
    std::string errors;
    const std::unique_ptr<xmlSchemaValidCtxt, Freer<xmlSchemaFreeValidCtxt>> validator(
        xmlSchemaNewValidCtxt(schema.get()));
    xmlSchemaSetValidStructuredErrors(
        validator.get(), [](void* out, xmlErrorPtr error) { *static_cast<std::string*>(out) += error->message; },
        &errors);
    const int result = xmlSchemaValidateDoc(validator.get(), document.get());
    return result != 0 && errors.empty() ? "invalid" : errors;
}

// The texts of what an XPath expression selects; the prefix r is the namespace of result files.
inline std::vector<std::string> Selected(const std::string& text, const std::string& expression) {
    const XmlDocument document = ParsedXml(text);
    const std::unique_ptr<xmlXPathContext, Freer<xmlXPathFreeContext>> context(xmlXPathNewContext(document.get()));
    xmlXPathRegisterNs(context.get(), BAD_CAST "r", BAD_CAST "urn:norvexdata:result:1");
    const std::unique_ptr<xmlXPathObject, Freer<xmlXPathFreeObject>> found(
        xmlXPathEvalExpression(BAD_CAST expression.c_str(), context.get()));
    std::vector<std::string> texts;
    for (int index = 0; found && found->nodesetval != nullptr && index < found->nodesetval->nodeNr; ++index) {
        xmlChar* const content = xmlNodeGetContent(found->nodesetval->nodeTab[index]);
        texts.emplace_back(reinterpret_cast<const char*>(content));
        xmlFree(content);
    }
    return texts;
}

}  // namespace norvex::test
