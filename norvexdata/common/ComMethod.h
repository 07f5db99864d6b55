// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <map>
#include <set>
#include <string>
#include <vector>

#include "norvexdata/Export.h"
#include "norvexdata/state/CategoryMap.h"
#include "norvexdata/state/Records.h"
#include "platform/arx/AcDb.h"
#include "platform/containers/CArray.h"
#include "platform/containers/CStringArray.h"
#include "platform/text/CString.h"

class ZrOwEntity;

// How the check interface finds the objects of a location string. The members belong to the rule modules and the check
// interface; here it is only written as a number.
enum EFindHandle : int {};

// Chores that rule modules share, one source file per topic. No state; results come by value and inputs are left as
// they were. Output arrays and maps are added to, never cleared. Failures are quiet: an empty text, false, 0 or nothing
// added.
class NORVEXDATA_API CComMethod {
  public:
    // --- Text ---

    // Appends the pieces between separators, empty ones included; an empty source gives one empty piece.
    static void ExplodeStrAryIncEmpty(CStringArray& output, CString source, wchar_t separator);
    // Appends the pieces between separators that are not empty.
    static void ExplodeStrAry(CStringArray& output, CString source, wchar_t separator);
    // The same with a separator of several characters. Requires: the separator is not empty.
    static void ExplodeStrAry(CStringArray& output, CString source, const CString& separator);
    // Everything behind the first "=", else ">", "<", "≥" or "≤"; the whole text when it holds none of them.
    static CString GetOneParam(const CString& parameter);
    // Fourth element of a path of exactly four; empty for any other path.
    static CString GetDetailNameByAttName(const CString& path);
    // The arguments joined by ";".
    static CString GetUnitedArgument(const CStringArray& arguments);
    // The entity's label position in plan, as text for people; the origin for an entity without one, and for none.
    static CString GetStrInsertPt(ZrOwEntity* entity);

    // --- Location handle strings ---

    // Upper-case hexadecimal without leading zeros; from 2^32 on the high half and then the low half in 30 digits.
    // An entity that is in no drawing has handle 0, and so has none.
    static CString GetStrHandle(AcDbHandle handle);
    static CString GetStrHandle(const ZrOwEntity* entity);
    // Locate form: leading tag, first tag, find mode, second tag and handles, joined by ":". An empty array or set
    // gives "".
    static CString GetStrFPHandle(const CString& handles, const CString& firstTag, const CString& secondTag,
                                  EFindHandle findMode, const CString& leadingTag);
    static CString GetStrFPHandle(const CStringArray& handles, const CString& firstTag, const CString& secondTag,
                                  EFindHandle findMode, const CString& leadingTag);
    static CString GetStrFPHandle(const std::set<CString>& handles, const CString& firstTag, const CString& secondTag,
                                  EFindHandle findMode, const CString& leadingTag);
    static CString GetStrFPHandle(AcDbHandle handle, const CString& firstTag, const CString& secondTag,
                                  EFindHandle findMode, const CString& leadingTag);
    static CString GetStrFPHandle(ZrOwEntity* entity, const CString& firstTag, const CString& secondTag,
                                  EFindHandle findMode, const CString& leadingTag);
    // Location strings joined by "-".
    static CString GetStrFPHandleAry(const CStringArray& locations);
    // Fix form: leading tag, first tag and handles, joined by ":". An empty array gives "".
    static CString GetStrFixHandle(const CString& handles, const CString& firstTag, const CString& leadingTag);
    static CString GetStrFixHandle(const CStringArray& handles, const CString& firstTag, const CString& leadingTag);
    // Fix form whose last field is key=value pairs; "" when the arrays are empty or of different lengths.
    static CString GetStrFixHandle(const CStringArray& keys, const CStringArray& values, const CString& firstTag,
                                   const CString& leadingTag);
    // Attribute-fix form: leading tag and attribute text, joined by ":".
    static CString GetStrFixAtt(const CString& attribute, const CString& leadingTag);
    static CString GetStrFAHandle(const CString& attribute, const CString& leadingTag);
    // Attribute-fix form of a list, in which the first text stands twice; "" when the array is empty.
    static CString GetStrFAHandle(const CStringArray& attributes, const CString& leadingTag);
    // Appends the ids of the objects of the working database under these handles. Returns false when one of them named
    // none; the others are appended all the same.
    static bool HandleAryToIdAry(AcArray<AcDbObjectId>& ids, const CStringArray& handles);

    // --- Result and guide files ---

    // Tag of the current specialty in file names; empty for a specialty that has none.
    static CString ZRAbbreviatedSpec();
    // Full path of a new result file of the current specialty. Its folder is made; that it could not be made shows when
    // the file is written. Two calls within one second give the same path.
    static CString GetResultFileName();
    // Full path of the guide file, which all runs and specialties share. Its folders are made.
    static CString CreateGuideFileName();
    // Full paths of the current specialty's result files, in the order of the file system.
    static void GetResultFileList(std::vector<std::string>& files);

    // --- Module inventory ---

    // One record per rule module in the application folder's "\Norvex", in the order of the file system.
    static void GetDllInfo(CZRArray<NS_NORVEX::DllInfo>& modules);
    // MD5 digest of a file as 32 lower-case hexadecimal digits; empty when it cannot be read.
    static CString GetModuleMD5(const CString& path);
    // File version as four decimal numbers joined by ".". Returns false, and leaves version as it was, when the file
    // has none.
    static bool GetFileVersion(CString path, CString& version);

    // --- Category maps ---

    // Turns a choice of components and items, with "*" for all, into a selection of what the category map holds.
    static void ConvertBigMemMap(std::map<CString, std::set<CString>>& output, const CategoryMap& categoryMap,
                                 const CZRArray<NS_NORVEX::ComponentInfo>& choice);
    // Keeps of a selection what the chosen calculation items select below the path prefix.
    static void FilterBigMemMap(std::map<CString, std::set<CString>>& output,
                                const std::map<CString, std::set<CString>>& input, const CString& prefix,
                                const std::set<CString>& selectedItems);
    // Whether the first calculation item of the path that is selected carries the flag "0".
    static bool IsSelectedCalItem(const CString& itemPath, const std::set<CString>& selectedItems);
    // Entities of the selected part of the category map, in map order.
    static void GetEntPtrVecByBigMemMap(std::vector<ZrOwEntity*>& output,
                                        const std::map<CString, std::set<CString>>& selection,
                                        const CategoryMap& categoryMap);

    // --- Cable text ---

    // Wires, three elements each, and conduits, two each, that an attribute definition chooses.
    static void SplitDxdg(const CString& attributeName, CStringArray& wires, CStringArray& conduits);
    // The same for a composite pipeline, whose combined entries are expanded.
    static void SplitZhgx(const CString& attributeName, CStringArray& wires, CStringArray& conduits);

    // --- Geometry, levels, floors ---

    // Whether the point lies in the box; faces count as inside.
    static bool IsPntEnternsInter(const AcDbExtents& box, const AcGePoint3d& point);
    // Whether the boxes overlap. Not symmetric: touching counts when second's maximum meets first's minimum, not the
    // other way.
    static bool ExtentsInter(const AcDbExtents& first, const AcDbExtents& second);
    // The same in plan.
    static bool IsIntersectWithEnterns(const AcDbExtents& first, const AcDbExtents& second);
    // Whether box, as first, overlaps any of boxes in plan.
    static bool IsIntersectWithEnterns(const CArray<AcDbExtents>& boxes, const AcDbExtents& box);
    // Levels of an entity in drawing units. Returns 1 for one level (low alone is set, or nothing for an unknown kind),
    // 2 for a range from low to high, 3 for a main line's pair as it stands.
    static int GetEntLevel(const ZrOwEntity* entity, double& low, double& high);
    // Ten times the floor's number, toward zero and within 32 bits; -1000 for the whole project; 0 for a name that does
    // not begin with a decimal number.
    static int GetFloorGrade(CString floorName);
};
