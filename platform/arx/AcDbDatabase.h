// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <memory>
#include <vector>

#include "platform/arx/AcDb.h"

// Name of the block that holds what is drawn in the model.
#define ACDB_MODEL_SPACE L"*Model_Space"

class AcDbBlockTableRecord;

// Walks the entities of one block in the order in which they were appended. The caller deletes it.
class NORVEX_PLATFORM_API AcDbBlockTableRecordIterator {
  public:
    void start(bool atBeginning = true, bool skipErased = true);
    bool done() const;
    void step(bool forward = true, bool skipErased = true);
    // Id of the entity that the iterator stands at. Errors: eInvalidInput at the end.
    Acad::ErrorStatus getEntityId(AcDbObjectId& id) const;
    // Opens the entity that the iterator stands at; the caller closes it. Errors: as acdbOpenAcDbObject; eInvalidInput
    // at the end.
    Acad::ErrorStatus getEntity(AcDbEntity*& entity, AcDb::OpenMode mode, bool openErased = false) const;

  private:
    friend class AcDbBlockTableRecord;
    explicit AcDbBlockTableRecordIterator(const std::vector<AcDbStub*>& entries) : m_entries(&entries) {}
    void skip(bool forward, bool skipErased);

    const std::vector<AcDbStub*>* m_entries;
    std::ptrdiff_t m_position = 0;
};

// A block: an ordered list of entities.
class NORVEX_PLATFORM_API AcDbBlockTableRecord : public AcDbObject {
  public:
    ACRX_DECLARE_MEMBERS(AcDbBlockTableRecord)

    const CString& getName() const { return m_name; }
    // Puts an entity at the end of the block; the database owns it from then on. Errors: eNotOpenForWrite,
    // eAlreadyInDb, eInvalidInput; the caller still owns the entity then.
    Acad::ErrorStatus appendAcDbEntity(AcDbObjectId& id, AcDbEntity* entity);
    // Makes an iterator that stands at the first entity. Errors: whatever AcDbDatabase::refuseIterators asked for; null
    // then.
    Acad::ErrorStatus newIterator(AcDbBlockTableRecordIterator*& iterator, bool atBeginning = true,
                                  bool skipErased = true) const;

  private:
    friend class AcDbDatabase;
    CString m_name;
    std::vector<AcDbStub*> m_entities;
};

// The drawing's blocks by name. Names match in either letter case.
class NORVEX_PLATFORM_API AcDbBlockTable : public AcDbObject {
  public:
    ACRX_DECLARE_MEMBERS(AcDbBlockTable)

    // Opens a block; the caller closes it. Errors: eKeyNotFound, and as acdbOpenAcDbObject.
    Acad::ErrorStatus getAt(const CString& name, AcDbBlockTableRecord*& record, AcDb::OpenMode mode,
                            bool openErased = false) const;
    Acad::ErrorStatus getAt(const CString& name, AcDbObjectId& id) const;

  private:
    friend class AcDbDatabase;
    struct Entry {
        CString name;
        AcDbObjectId id;
    };
    std::vector<Entry> m_records;
};

// One drawing, in memory: a block table with an empty "*Model_Space". It owns every object in it.
class NORVEX_PLATFORM_API AcDbDatabase {
  public:
    AcDbDatabase();
    AcDbDatabase(const AcDbDatabase&) = delete;
    AcDbDatabase& operator=(const AcDbDatabase&) = delete;
    // Also takes the drawing away as the working database when it is the one.
    ~AcDbDatabase();

    // Opens the block table; the caller closes it. Errors: as acdbOpenAcDbObject.
    Acad::ErrorStatus getBlockTable(AcDbBlockTable*& table, AcDb::OpenMode mode);
    // The id under a handle, erased objects included; none is ever created here. Errors: eUnknownHandle; the id is null
    // then.
    Acad::ErrorStatus getAcDbObjectId(AcDbObjectId& id, bool createIfNotFound, const AcDbHandle& handle,
                                      Adesk::UInt32 xRefId = 0);

    // Below: what a host that fills a drawing itself, or a test, asks of the stand-in.

    // Appends an entity to model space under a handle of the caller's choice; handle 0 takes the next free one, counted
    // up from 1. Errors: eHandleInUse, eInvalidInput for no entity; the entity is destroyed then.
    Acad::ErrorStatus addToModelSpace(std::unique_ptr<AcDbEntity> entity, AcDbObjectId& id,
                                      AcDbHandle handle = AcDbHandle());
    // Makes room for this many more entities in model space, so that appending them moves nothing.
    void reserveModelSpace(std::size_t entities);
    // Makes every later opening of an object fail with this status; eOk lets it open again.
    void refuseToOpen(AcDbObjectId id, Acad::ErrorStatus status);
    // Makes every later iterator of a block of this drawing fail with this status; eOk lets them be made again.
    void refuseIterators(Acad::ErrorStatus status) { m_iteratorRefusal = status; }
    AcDbObjectId blockTableId() const { return m_blockTable; }
    AcDbObjectId modelSpaceId() const { return m_modelSpace; }
    // Number of openings that nobody has ended yet, over all objects.
    int openCount() const { return m_openCount; }
    // Number of openings since the drawing was made.
    long long totalOpens() const { return m_totalOpens; }
    // Number of entities in model space, erased ones included.
    std::size_t modelSpaceSize() const;

  private:
    friend class AcDbObject;
    friend class AcDbBlockTableRecord;
    friend NORVEX_PLATFORM_API Acad::ErrorStatus acdbOpenAcDbObject(AcDbObject*&, AcDbObjectId, AcDb::OpenMode, bool);

    struct Storage;
    AcDbStub* adopt(std::unique_ptr<AcDbObject> object, AcDbHandle handle);

    std::unique_ptr<Storage> m_storage;
    AcDbObjectId m_blockTable;
    AcDbObjectId m_modelSpace;
    Acad::ErrorStatus m_iteratorRefusal = Acad::eOk;
    int m_openCount = 0;
    long long m_totalOpens = 0;
};

// What the host offers to applications about the drawing at hand.
class NORVEX_PLATFORM_API AcDbHostApplicationServices {
  public:
    // The drawing that checks work on; null while there is none. Borrowed.
    AcDbDatabase* workingDatabase() const { return m_workingDatabase; }
    void setWorkingDatabase(AcDbDatabase* database) { m_workingDatabase = database; }

  private:
    AcDbDatabase* m_workingDatabase = nullptr;
};

// The one set of services of the process.
NORVEX_PLATFORM_API AcDbHostApplicationServices* acdbHostApplicationServices();
