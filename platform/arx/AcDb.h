// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>

#include "platform/Export.h"
#include "platform/arx/AcGe.h"
#include "platform/arx/AcRx.h"
#include "platform/containers/AcArray.h"
#include "platform/text/CString.h"

// Objects of the host's drawing database: identity, opening and closing, entities. Database objects are used from one
// thread at a time.

namespace Adesk {
using UInt32 = std::uint32_t;
using UInt64 = std::uint64_t;
using Boolean = bool;
}  // namespace Adesk

namespace Acad {

// Answers of database operations. The names are the host's; callers compare with eOk.
enum ErrorStatus {
    eOk = 0,
    eInvalidInput,
    eKeyNotFound,
    eNullObjectId,
    eUnknownHandle,
    eHandleInUse,
    eWasErased,
    ePermanentlyErased,
    eNotOpenForRead,
    eNotOpenForWrite,
    eWasOpenForWrite,
    eNoDatabase,
    eAlreadyInDb,
    eDuplicateRecordName,
    eNullExtents,
    eNotThatKindOfClass,
    eOutOfMemory
};

}  // namespace Acad

namespace AcDb {

enum OpenMode { kForRead = 0, kForWrite = 1, kForNotify = 2 };

}  // namespace AcDb

class AcDbDatabase;
class AcDbObject;
struct AcDbStub;

// The persistent 64-bit identity of an object inside one drawing; 0 is no object.
class NORVEX_PLATFORM_API AcDbHandle {
  public:
    AcDbHandle() = default;
    explicit AcDbHandle(Adesk::UInt64 value) : m_value(value) {}
    AcDbHandle(Adesk::UInt32 low, Adesk::UInt32 high) : m_value((Adesk::UInt64{high} << 32) | low) {}
    // Reads hexadecimal text, either letter case. Text that is empty, holds anything else or more than 16 digits gives
    // 0.
    explicit AcDbHandle(const TCHAR* text);

    Adesk::UInt32 low() const { return static_cast<Adesk::UInt32>(m_value); }
    Adesk::UInt32 high() const { return static_cast<Adesk::UInt32>(m_value >> 32); }
    Adesk::UInt64 value() const { return m_value; }
    bool isNull() const { return m_value == 0; }

    bool operator==(const AcDbHandle& other) const { return m_value == other.m_value; }
    bool operator!=(const AcDbHandle& other) const { return m_value != other.m_value; }
    bool operator<(const AcDbHandle& other) const { return m_value < other.m_value; }

  private:
    Adesk::UInt64 m_value = 0;
};

// Names an object for the life of its database. A new id names nothing.
class NORVEX_PLATFORM_API AcDbObjectId {
  public:
    AcDbObjectId() = default;

    bool isNull() const { return m_stub == nullptr; }
    // True when the id names an object that is not erased.
    bool isValid() const;
    bool isErased() const;
    // Handle of the named object; 0 for a null id.
    AcDbHandle handle() const;
    AcDbDatabase* database() const;

    bool operator==(const AcDbObjectId& other) const { return m_stub == other.m_stub; }
    bool operator!=(const AcDbObjectId& other) const { return m_stub != other.m_stub; }
    bool operator<(const AcDbObjectId& other) const { return m_stub < other.m_stub; }

  private:
    friend class AcDbDatabase;
    friend class AcDbObject;
    friend class AcDbBlockTableRecordIterator;
    friend NORVEX_PLATFORM_API Acad::ErrorStatus acdbOpenAcDbObject(AcDbObject*&, AcDbObjectId, AcDb::OpenMode, bool);
    explicit AcDbObjectId(AcDbStub* stub) : m_stub(stub) {}
    AcDbStub* m_stub = nullptr;
};

using AcDbObjectIdArray = AcArray<AcDbObjectId>;

// An object that can live in a drawing database. The database owns it once it is in one.
class NORVEX_PLATFORM_API AcDbObject : public AcRxObject {
  public:
    ACRX_DECLARE_MEMBERS(AcDbObject)

    // Null while the object is in no database.
    AcDbObjectId objectId() const { return AcDbObjectId(m_stub); }
    void getAcDbHandle(AcDbHandle& handle) const;
    AcDbDatabase* database() const;
    bool isErased() const;

    // Ends one opening. Errors: eNoDatabase, eNotOpenForRead.
    Acad::ErrorStatus close();
    // Marks the object erased, or takes the mark back. Errors: eNoDatabase, eNotOpenForWrite.
    Acad::ErrorStatus erase(bool erasing = true);
    bool isReadEnabled() const;
    bool isWriteEnabled() const;

  private:
    friend class AcDbDatabase;
    AcDbStub* m_stub = nullptr;
};

// Opens the object that an id names; the caller closes it. Several readers may have it open at once, or one writer.
// Errors: eNullObjectId; eWasErased unless openErased; eWasOpenForWrite and eNotOpenForWrite when the modes exclude
// each other; whatever AcDbDatabase::refuseToOpen asked for. The object is null then.
NORVEX_PLATFORM_API Acad::ErrorStatus acdbOpenAcDbObject(AcDbObject*& object, AcDbObjectId id, AcDb::OpenMode mode,
                                                         bool openErased = false);

// The same for one class. Errors also: eNotThatKindOfClass, and the object is closed again.
template <class T>
Acad::ErrorStatus acdbOpenObject(T*& object, AcDbObjectId id, AcDb::OpenMode mode = AcDb::kForRead,
                                 bool openErased = false) {
    object = nullptr;
    AcDbObject* opened = nullptr;
    const Acad::ErrorStatus status = acdbOpenAcDbObject(opened, id, mode, openErased);
    if (status != Acad::eOk) {
        return status;
    }
    object = T::cast(opened);
    if (object == nullptr) {
        opened->close();
        return Acad::eNotThatKindOfClass;
    }
    return Acad::eOk;
}

// An axis-parallel box in drawing units.
class NORVEX_PLATFORM_API AcDbExtents {
  public:
    // Holds no point: the minimum lies above the maximum.
    AcDbExtents();
    AcDbExtents(const AcGePoint3d& minimum, const AcGePoint3d& maximum) : m_minimum(minimum), m_maximum(maximum) {}

    AcGePoint3d minPoint() const { return m_minimum; }
    AcGePoint3d maxPoint() const { return m_maximum; }
    Acad::ErrorStatus set(const AcGePoint3d& minimum, const AcGePoint3d& maximum);
    void addPoint(const AcGePoint3d& point);
    void addExt(const AcDbExtents& box);

  private:
    AcGePoint3d m_minimum;
    AcGePoint3d m_maximum;
};

// Something drawn.
class NORVEX_PLATFORM_API AcDbEntity : public AcDbObject {
  public:
    ACRX_DECLARE_MEMBERS(AcDbEntity)

    // Errors: eNullExtents when the entity takes no room; the box is unchanged then.
    virtual Acad::ErrorStatus getGeomExtents(AcDbExtents& extents) const;
};
