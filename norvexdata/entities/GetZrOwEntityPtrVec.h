// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <map>
#include <set>

#include "norvexdata/Export.h"
#include "norvexdata/state/CategoryMap.h"
#include "norvexdata/state/Records.h"
#include "platform/arx/AcDb.h"
#include "platform/text/CString.h"

class COwTrustTool;
class ZrOwEntity;

// The current floor's entities of the current specialty, filed by category, sub-category and detail name. One instance,
// made on first use from the host's working database and kept until Delete(); later changes of the drawing are not
// seen. Entities are borrowed from the drawing. Check thread only.
class NORVEXDATA_API CGetZrOwEntityPtrVec {
  public:
    // Copies have the collected entities; they are not the one instance.
    CGetZrOwEntityPtrVec(const CGetZrOwEntityPtrVec& other);
    CGetZrOwEntityPtrVec& operator=(const CGetZrOwEntityPtrVec& other);

    // The one instance; collects when there is none yet.
    static CGetZrOwEntityPtrVec* GetInstance();
    // Drops the instance; the floor counts as empty again.
    static void Delete();

    // True until an entity has been collected since the last Delete().
    bool GetIsEmptyFloor();
    // Walks model space and files what the run selects into the collected map.
    void InitEntityPtrVec();
    // Files one entity under a category, sub-category and detail name.
    void AddToBigEntMap(CategoryMap& map, const CString& category, const CString& subCategory,
                        const CString& detailName, ZrOwEntity* entity);
    // Files one entity into a set under the detail name that its own path gives.
    void AddToAttSet(std::set<SAttEntPtr>& set, ZrOwEntity* entity);
    // Walks model space again and files into out what the condition selects; out is not cleared.
    void GetSelEntByCondition(CategoryMap& out, const std::map<CString, std::set<CString>>& condition);
    // The collected map without what is trusted on the current floor. Good until the next call or Delete().
    const CategoryMap& GetEntityByBigMemMap(const COwTrustTool& trust);
    // The same, written into out in place of what it held; when the whole rule is trusted, out stays as it was.
    void GetEntityByBigMemMap(const COwTrustTool& trust, CategoryMap& out) const;
    // Appends the id of every fitting in model space, in drawing order, of any specialty.
    void GetAllFitInCurFlor(AcDbObjectIdArray& ids);

    static CGetZrOwEntityPtrVec* s_cInstance;
    static bool s_bIsEmpty;

  private:
    CGetZrOwEntityPtrVec() = default;

    CategoryMap m_mapBigMem;
    CategoryMap m_mapFiltered;
};
