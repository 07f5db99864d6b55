// SPDX-License-Identifier: Apache-2.0
#include "platform/arx/AcDb.h"

#include <algorithm>

#include "platform/arx/AcDbDatabase.h"
#include "platform/arx/AcDbStub.h"

ACRX_DEFINE_MEMBERS(AcDbObject, AcRxObject)
ACRX_DEFINE_MEMBERS(AcDbEntity, AcDbObject)

AcDbHandle::AcDbHandle(const TCHAR* text) {
    constexpr int kMostDigits = 16;
    Adesk::UInt64 value = 0;
    int digits = 0;
    for (const TCHAR* at = text; at != nullptr && *at != 0; ++at) {
        unsigned digit = 16;
        if (*at >= u'0' && *at <= u'9') {
            digit = *at - static_cast<unsigned>(u'0');
        } else if (*at >= u'A' && *at <= u'F') {
            digit = *at - static_cast<unsigned>(u'A') + 10;
        } else if (*at >= u'a' && *at <= u'f') {
            digit = *at - static_cast<unsigned>(u'a') + 10;
        }
        // Leading zeros are no part of the number.
        digits += value != 0 || digit != 0 ? 1 : 0;
        if (digit == 16 || digits > kMostDigits) {
            return;
        }
        value = (value << 4) | digit;
    }
    m_value = value;
}

bool AcDbObjectId::isValid() const {
    return m_stub != nullptr && !m_stub->erased;
}

bool AcDbObjectId::isErased() const {
    return m_stub != nullptr && m_stub->erased;
}

AcDbHandle AcDbObjectId::handle() const {
    return m_stub != nullptr ? m_stub->handle : AcDbHandle();
}

AcDbDatabase* AcDbObjectId::database() const {
    return m_stub != nullptr ? m_stub->database : nullptr;
}

void AcDbObject::getAcDbHandle(AcDbHandle& handle) const {
    handle = objectId().handle();
}

AcDbDatabase* AcDbObject::database() const {
    return objectId().database();
}

bool AcDbObject::isErased() const {
    return m_stub != nullptr && m_stub->erased;
}

Acad::ErrorStatus AcDbObject::close() {
    if (m_stub == nullptr) {
        return Acad::eNoDatabase;
    }
    if (m_stub->writeOpen) {
        m_stub->writeOpen = false;
    } else if (m_stub->readers > 0) {
        --m_stub->readers;
    } else {
        return Acad::eNotOpenForRead;
    }
    --m_stub->database->m_openCount;
    return Acad::eOk;
}

Acad::ErrorStatus AcDbObject::erase(bool erasing) {
    if (m_stub == nullptr) {
        return Acad::eNoDatabase;
    }
    if (!m_stub->writeOpen) {
        return Acad::eNotOpenForWrite;
    }
    m_stub->erased = erasing;
    return Acad::eOk;
}

bool AcDbObject::isReadEnabled() const {
    return m_stub != nullptr && (m_stub->readers > 0 || m_stub->writeOpen);
}

bool AcDbObject::isWriteEnabled() const {
    return m_stub != nullptr && m_stub->writeOpen;
}

Acad::ErrorStatus acdbOpenAcDbObject(AcDbObject*& object, AcDbObjectId id, AcDb::OpenMode mode, bool openErased) {
    object = nullptr;
    AcDbStub* stub = id.m_stub;
    if (stub == nullptr) {
        return Acad::eNullObjectId;
    }
    if (stub->refusal != Acad::eOk) {
        return stub->refusal;
    }
    if (stub->erased && !openErased) {
        return Acad::eWasErased;
    }
    if (stub->writeOpen) {
        return Acad::eWasOpenForWrite;
    }
    if (mode == AcDb::kForWrite) {
        if (stub->readers > 0) {
            return Acad::eNotOpenForWrite;
        }
        stub->writeOpen = true;
    } else {
        ++stub->readers;
    }
    ++stub->database->m_openCount;
    ++stub->database->m_totalOpens;
    object = stub->object.get();
    return Acad::eOk;
}

// Larger than any drawing, and finite, so that differences stay numbers.
constexpr double kBeyondDrawing = 1e20;

AcDbExtents::AcDbExtents()
    : m_minimum(kBeyondDrawing, kBeyondDrawing, kBeyondDrawing),
      m_maximum(-kBeyondDrawing, -kBeyondDrawing, -kBeyondDrawing) {
}

Acad::ErrorStatus AcDbExtents::set(const AcGePoint3d& minimum, const AcGePoint3d& maximum) {
    if (minimum.x > maximum.x || minimum.y > maximum.y || minimum.z > maximum.z) {
        return Acad::eInvalidInput;
    }
    m_minimum = minimum;
    m_maximum = maximum;
    return Acad::eOk;
}

void AcDbExtents::addPoint(const AcGePoint3d& point) {
    addExt({point, point});
}

void AcDbExtents::addExt(const AcDbExtents& box) {
    const AcGePoint3d& low = box.m_minimum;
    const AcGePoint3d& high = box.m_maximum;
    m_minimum.set(std::min(m_minimum.x, low.x), std::min(m_minimum.y, low.y), std::min(m_minimum.z, low.z));
    m_maximum.set(std::max(m_maximum.x, high.x), std::max(m_maximum.y, high.y), std::max(m_maximum.z, high.z));
}

Acad::ErrorStatus AcDbEntity::getGeomExtents(AcDbExtents&) const {
    return Acad::eNullExtents;
}
