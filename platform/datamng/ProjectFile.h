// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "platform/Export.h"
#include "platform/datamng/ProjectData.h"
#include "platform/text/CString.h"

#include <optional>
#include <string>
#include <string_view>

// Project data as a file that people can read and change. The catalogue that ships and the file in a project's folder
// have the same form:
//
//     <projectData version="1" specialty="NAME">             the specialty that is worked on; may be left out
//       <specialty id="1" name="NAME">
//         <category id="1" name="NAME">
//           <subCategory id="1" name="NAME"/>
//         </category>
//       </specialty>
//       <attribute id="1" path="SPECIALTY\CATEGORY\SUB-CATEGORY\DETAIL NAME">
//         <value name="NAME">TEXT</value>                    blanks count
//       </attribute>
//       <calculation path="SPECIALTY\CATEGORY\SUB-CATEGORY">
//         <item name="NAME" flag="0"/>                       in the order in which they are asked
//       </calculation>
//     </projectData>
//
// Ids may be left out; those that are given are positive, unique among their kind, and kept as long as nothing else has
// taken them. Names are not empty and unique among their siblings. An attribute's path also makes its categories known.
// Anything else is an error, so that a mistyped name does not go unseen.
namespace norvex::datamng {

// Name of the file in a project's folder.
inline constexpr const wchar_t* kProjectFileName = L"ProjectData.xml";

struct ProjectReadResult {
    // Nothing when the data could not be read; then the others say where and why.
    std::optional<ProjectData> data;
    CString path;
    int line = 0;
    std::string sentence;
};

// Reads the text of a file. All of these may be called from any thread.
NORVEX_PLATFORM_API ProjectReadResult ReadProjectData(std::string_view bytes);
// Reads a file by the host's path.
NORVEX_PLATFORM_API ProjectReadResult ReadProjectFile(const CString& path);
// The catalogue, and merged into it the project file of a folder when there is one; the result has this folder.
NORVEX_PLATFORM_API ProjectReadResult LoadProject(const CString& folder, const CString& cataloguePath);

// The text that ReadProjectData reads back to the same data, folder aside. Characters that no XML document may hold,
// and halves of surrogate pairs, become U+FFFD. The same data gives the same bytes.
NORVEX_PLATFORM_API std::string WriteProjectData(const ProjectData& data);
// Replaces the project file of a folder, which must exist. Returns false when it could not be written.
NORVEX_PLATFORM_API bool WriteProjectFile(const CString& folder, const ProjectData& data);

}  // namespace norvex::datamng
