// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <vector>

#include "norvexdata/Export.h"
#include "norvexdata/state/CategoryMap.h"
#include "platform/arx/AcGe.h"
#include "platform/text/CString.h"

class ZrOwEntity;

// Picks entities out of lists. Points and distances are in drawing units; entities are borrowed.
class NORVEXDATA_API CEntFindMethod {
  public:
    // True when the points are nearer than tol; exactly tol apart is not near.
    static bool Is2PtNear(const AcGePoint3d& p1, const AcGePoint3d& p2, double tol);
    // Appends every pipe of candidates that starts or ends at pt within the host's tolerance, in candidate order.
    static void FindPipe(const AcGePoint3d& pt, std::vector<ZrOwEntity*>& candidates, std::vector<ZrOwEntity*>& found);
    // Moves every pipe with an end nearer than tol to pt from candidates to the end of found. Both keep their order.
    static void PopPipe(const AcGePoint3d& pt, std::vector<ZrOwEntity*>& candidates, std::vector<ZrOwEntity*>& found,
                        double tol);
    // Moves equipment whose insert point is nearer than 100 drawing units to pt. Both keep their order.
    static void PopEquip(const AcGePoint3d& pt, std::vector<ZrOwEntity*>& candidates, std::vector<ZrOwEntity*>& found);
    // Appends the entities of the named sub-categories of one category, in map order; an empty list names all. A buried
    // lead is replaced by its container, which out then holds once; a lead without a container that opens is left out.
    static void InsertData(const CString& category, const std::vector<CString>& subCategories, const CategoryMap& map,
                           std::vector<ZrOwEntity*>& out);
    static void InsertData(const CString& category, const CategoryMap& map, std::vector<ZrOwEntity*>& out);
};

// A pipe with the end of it that lies away from the point where a search met it.
struct NORVEXDATA_API SElecSearchPipe {
    // The end point when pt is nearer than tol to the pipe's start, else the start point; the origin for anything but a
    // pipe.
    SElecSearchPipe(ZrOwEntity* entity, AcGePoint3d pt, double tol);

    ZrOwEntity* m_pEntity;
    AcGePoint3d m_point;
};
