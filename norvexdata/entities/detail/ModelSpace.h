// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <memory>

#include "platform/arx/AcDbDatabase.h"

namespace norvex::entities {

// Returns: an iterator at the first entity of the working database's model space that is not erased; null when there is
// no database, block table, model space or iterator. The block table and model space are open only while they are
// asked.
inline std::unique_ptr<AcDbBlockTableRecordIterator> NewModelSpaceIterator() {
    AcDbDatabase* const database = acdbHostApplicationServices()->workingDatabase();
    if (database == nullptr) {
        return nullptr;
    }
    AcDbBlockTable* blockTable = nullptr;
    if (database->getBlockTable(blockTable, AcDb::kForRead) != Acad::eOk) {
        return nullptr;
    }
    blockTable->close();
    AcDbBlockTableRecord* modelSpace = nullptr;
    if (blockTable->getAt(ACDB_MODEL_SPACE, modelSpace, AcDb::kForRead) != Acad::eOk) {
        return nullptr;
    }
    modelSpace->close();
    AcDbBlockTableRecordIterator* iterator = nullptr;
    modelSpace->newIterator(iterator);
    return std::unique_ptr<AcDbBlockTableRecordIterator>(iterator);
}

// Calls visit(entity) for each entity of model space that opens, in the iterator's order. Each entity is closed again
// before the call; the pointer stays good as long as the drawing keeps the entity.
template <class Visit>
void ForEachModelSpaceEntity(Visit visit) {
    const std::unique_ptr<AcDbBlockTableRecordIterator> iterator = NewModelSpaceIterator();
    if (iterator == nullptr) {
        return;
    }
    for (; !iterator->done(); iterator->step()) {
        AcDbEntity* entity = nullptr;
        if (iterator->getEntity(entity, AcDb::kForRead) == Acad::eOk) {
            entity->close();
            visit(*entity);
        }
    }
}

}  // namespace norvex::entities
