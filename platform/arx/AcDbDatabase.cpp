// SPDX-License-Identifier: Apache-2.0
#include "platform/arx/AcDbDatabase.h"

#include <algorithm>
#include <deque>
#include <unordered_map>

#include "platform/arx/AcDbStub.h"

ACRX_DEFINE_MEMBERS(AcDbBlockTable, AcDbObject)
ACRX_DEFINE_MEMBERS(AcDbBlockTableRecord, AcDbObject)

struct AcDbDatabase::Storage {
    // A deque keeps every stub at its place, so that ids stay good while the drawing grows.
    std::deque<AcDbStub> stubs;
    std::unordered_map<Adesk::UInt64, AcDbStub*> byHandle;
    Adesk::UInt64 nextHandle = 1;
};

void AcDbBlockTableRecordIterator::skip(bool forward, bool skipErased) {
    while (skipErased && !done() && (*m_entries)[static_cast<std::size_t>(m_position)]->erased) {
        m_position += forward ? 1 : -1;
    }
}

void AcDbBlockTableRecordIterator::start(bool atBeginning, bool skipErased) {
    m_position = atBeginning ? 0 : std::ssize(*m_entries) - 1;
    skip(atBeginning, skipErased);
}

bool AcDbBlockTableRecordIterator::done() const {
    return m_position < 0 || m_position >= std::ssize(*m_entries);
}

void AcDbBlockTableRecordIterator::step(bool forward, bool skipErased) {
    if (!done()) {
        m_position += forward ? 1 : -1;
        skip(forward, skipErased);
    }
}

Acad::ErrorStatus AcDbBlockTableRecordIterator::getEntityId(AcDbObjectId& id) const {
    if (done()) {
        id = AcDbObjectId();
        return Acad::eInvalidInput;
    }
    id = AcDbObjectId((*m_entries)[static_cast<std::size_t>(m_position)]);
    return Acad::eOk;
}

Acad::ErrorStatus AcDbBlockTableRecordIterator::getEntity(AcDbEntity*& entity, AcDb::OpenMode mode,
                                                          bool openErased) const {
    entity = nullptr;
    AcDbObjectId id;
    const Acad::ErrorStatus status = getEntityId(id);
    return status != Acad::eOk ? status : acdbOpenObject(entity, id, mode, openErased);
}

Acad::ErrorStatus AcDbBlockTableRecord::appendAcDbEntity(AcDbObjectId& id, AcDbEntity* entity) {
    if (entity == nullptr) {
        return Acad::eInvalidInput;
    }
    if (!isWriteEnabled()) {
        return Acad::eNotOpenForWrite;
    }
    if (entity->database() != nullptr) {
        return Acad::eAlreadyInDb;
    }
    AcDbStub* stub = database()->adopt(std::unique_ptr<AcDbObject>(entity), AcDbHandle());
    m_entities.push_back(stub);
    id = entity->objectId();
    return Acad::eOk;
}

Acad::ErrorStatus AcDbBlockTableRecord::newIterator(AcDbBlockTableRecordIterator*& iterator, bool atBeginning,
                                                    bool skipErased) const {
    iterator = nullptr;
    const Acad::ErrorStatus refusal = database() != nullptr ? database()->m_iteratorRefusal : Acad::eNoDatabase;
    if (refusal != Acad::eOk) {
        return refusal;
    }
    iterator = new AcDbBlockTableRecordIterator(m_entities);
    iterator->start(atBeginning, skipErased);
    return Acad::eOk;
}

Acad::ErrorStatus AcDbBlockTable::getAt(const CString& name, AcDbObjectId& id) const {
    const auto found = std::find_if(m_records.begin(), m_records.end(),
                                    [&name](const Entry& entry) { return entry.name.CompareNoCase(name) == 0; });
    id = found != m_records.end() ? found->id : AcDbObjectId();
    return found != m_records.end() ? Acad::eOk : Acad::eKeyNotFound;
}

Acad::ErrorStatus AcDbBlockTable::getAt(const CString& name, AcDbBlockTableRecord*& record, AcDb::OpenMode mode,
                                        bool openErased) const {
    record = nullptr;
    AcDbObjectId id;
    const Acad::ErrorStatus status = getAt(name, id);
    return status != Acad::eOk ? status : acdbOpenObject(record, id, mode, openErased);
}

AcDbDatabase::AcDbDatabase() : m_storage(std::make_unique<Storage>()) {
    // The drawing's own objects take the highest handles, so that a caller may number its entities from 1.
    constexpr Adesk::UInt64 kBlockTableHandle = ~Adesk::UInt64{0};
    constexpr Adesk::UInt64 kModelSpaceHandle = kBlockTableHandle - 1;
    auto table = std::make_unique<AcDbBlockTable>();
    AcDbBlockTable* const blockTable = table.get();
    m_blockTable = AcDbObjectId(adopt(std::move(table), AcDbHandle(kBlockTableHandle)));
    auto record = std::make_unique<AcDbBlockTableRecord>();
    record->m_name = ACDB_MODEL_SPACE;
    m_modelSpace = AcDbObjectId(adopt(std::move(record), AcDbHandle(kModelSpaceHandle)));
    blockTable->m_records.push_back({ACDB_MODEL_SPACE, m_modelSpace});
}

AcDbDatabase::~AcDbDatabase() {
    if (acdbHostApplicationServices()->workingDatabase() == this) {
        acdbHostApplicationServices()->setWorkingDatabase(nullptr);
    }
}

AcDbStub* AcDbDatabase::adopt(std::unique_ptr<AcDbObject> object, AcDbHandle handle) {
    if (handle.isNull()) {
        while (m_storage->byHandle.count(m_storage->nextHandle) != 0) {
            ++m_storage->nextHandle;
        }
        handle = AcDbHandle(m_storage->nextHandle++);
    }
    AcDbStub& stub = m_storage->stubs.emplace_back();
    stub.object = std::move(object);
    stub.object->m_stub = &stub;
    stub.database = this;
    stub.handle = handle;
    m_storage->byHandle.emplace(handle.value(), &stub);
    return &stub;
}

Acad::ErrorStatus AcDbDatabase::getBlockTable(AcDbBlockTable*& table, AcDb::OpenMode mode) {
    return acdbOpenObject(table, m_blockTable, mode);
}

Acad::ErrorStatus AcDbDatabase::getAcDbObjectId(AcDbObjectId& id, bool, const AcDbHandle& handle, Adesk::UInt32) {
    const auto found = m_storage->byHandle.find(handle.value());
    if (found == m_storage->byHandle.end()) {
        id = AcDbObjectId();
        return Acad::eUnknownHandle;
    }
    id = AcDbObjectId(found->second);
    return Acad::eOk;
}

Acad::ErrorStatus AcDbDatabase::addToModelSpace(std::unique_ptr<AcDbEntity> entity, AcDbObjectId& id,
                                                AcDbHandle handle) {
    id = AcDbObjectId();
    if (entity == nullptr) {
        return Acad::eInvalidInput;
    }
    if (!handle.isNull() && m_storage->byHandle.count(handle.value()) != 0) {
        return Acad::eHandleInUse;
    }
    AcDbStub* stub = adopt(std::move(entity), handle);
    static_cast<AcDbBlockTableRecord*>(m_modelSpace.m_stub->object.get())->m_entities.push_back(stub);
    id = AcDbObjectId(stub);
    return Acad::eOk;
}

void AcDbDatabase::reserveModelSpace(std::size_t entities) {
    auto& space = static_cast<AcDbBlockTableRecord*>(m_modelSpace.m_stub->object.get())->m_entities;
    space.reserve(space.size() + entities);
    m_storage->byHandle.reserve(m_storage->byHandle.size() + entities);
}

void AcDbDatabase::refuseToOpen(AcDbObjectId id, Acad::ErrorStatus status) {
    if (!id.isNull()) {
        id.m_stub->refusal = status;
    }
}

std::size_t AcDbDatabase::modelSpaceSize() const {
    return static_cast<const AcDbBlockTableRecord*>(m_modelSpace.m_stub->object.get())->m_entities.size();
}

AcDbHostApplicationServices* acdbHostApplicationServices() {
    static AcDbHostApplicationServices services;
    return &services;
}
