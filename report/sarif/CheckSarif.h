// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <string_view>

#include "report/CheckReport.h"

namespace norvex::report {

// The report as a SARIF 2.1.0 log for code review tools and build servers, as docs/sarif.md describes it: UTF-8, with a
// line break at its end. Ill-formed UTF-8 of the model becomes U+FFFD.
std::string CheckSarif(const service::RunReport& report, Times times = Times::Omit);

// A path as a URI reference: bytes that a URI cannot hold are percent-encoded. An absolute path gets the scheme "file".
std::string UriOfPath(std::string_view path);

// Text as a SARIF message wants it, so that braces and brackets of a model are no placeholders and no links.
std::string SarifMessageText(std::string_view text);

}  // namespace norvex::report
