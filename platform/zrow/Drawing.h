// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <memory>
#include <vector>

#include "platform/arx/AcDbDatabase.h"
#include "platform/zrow/ZrOwLines.h"
#include "platform/zrow/ZrOwNodes.h"

namespace norvex {

// Text as people write it in code: narrow literals are UTF-8, wide ones are taken as they stand.
struct NORVEX_PLATFORM_API DrawingText {
    DrawingText() = default;
    DrawingText(const char* utf8);
    DrawingText(const char16_t* wide) : text(wide) {}
    DrawingText(const wchar_t* wide) : text(wide) {}
    DrawingText(const CString& given) : text(given) {}

    CString text;
};

// Builds a drawing in code: each call appends one entity to model space and returns the drawing, so that calls chain.
//
//     Drawing drawing;
//     drawing.pipe({0, 0, 0}, {1000, 0, 0}, "给排水\\管线\\给水管\\DN50");
//     drawing.node({1000, 0, 0}, "给排水\\设备\\水泵\\P1").makeCurrent();
//
// Points are in drawing units. A path is specialty\category\sub-category\detail name; the system code of a new entity
// is the path's text up to and with its first backslash ("给排水\"). Handles count up from 1 unless handle() sets the
// next one. The drawing owns its entities; pointers stay good while it lives. Used from one thread at a time.
class NORVEX_PLATFORM_API Drawing {
  public:
    Drawing();
    Drawing(Drawing&&) noexcept;
    Drawing& operator=(Drawing&&) noexcept;
    ~Drawing();

    Drawing& pipe(const AcGePoint3d& start, const AcGePoint3d& end, const DrawingText& path = {});
    Drawing& mainLine(const AcGePoint3d& start, const AcGePoint3d& end, const ZrOwMainPipeInfo& info,
                      const DrawingText& path = {});
    Drawing& riser(const AcGePoint2d& plan, double level1, double level2, const DrawingText& path = {});
    Drawing& groove(double elevation, const DrawingText& path = {});
    Drawing& node(const AcGePoint3d& at, const DrawingText& path = {});
    Drawing& fitting(const AcGePoint3d& at, const DrawingText& path = {});
    Drawing& leadContainer(const DrawingText& path = {});
    // A buried lead in the container with this handle; a handle that names nothing leaves it in none.
    Drawing& leadBuried(AcDbHandle container, const DrawingText& path = {});
    // An entity that is not of the maker's library.
    Drawing& foreign();
    // Any entity, made by the caller.
    Drawing& entity(std::unique_ptr<AcDbEntity> made, const DrawingText& path = {});

    // The next entity takes this handle. Errors: one already in use makes the next call throw std::invalid_argument.
    Drawing& handle(Adesk::UInt64 next);

    // Of the entity appended last:
    Drawing& sysCode(const DrawingText& code);
    Drawing& property(const CString& name, const DrawingText& value);
    Drawing& length(double measure);
    Drawing& erased();
    Drawing& unopenable();

    // Makes this the host's working database, until it is destroyed or another one is made current.
    Drawing& makeCurrent();

    AcDbDatabase& database() { return *m_database; }
    // Id of the entity appended last; null before the first.
    AcDbObjectId lastId() const { return m_lastId; }
    // Entity number index in the order of appending, as its class; null when it is of another class. Not opened.
    template <class T>
    T* at(std::size_t index) const {
        return index < m_entities.size() ? T::cast(m_entities[index]) : nullptr;
    }
    // All entities of the maker's library, in the order of appending.
    std::vector<ZrOwEntity*> entities() const;

  private:
    std::unique_ptr<AcDbDatabase> m_database;
    std::vector<AcDbEntity*> m_entities;
    AcDbObjectId m_lastId;
    Adesk::UInt64 m_nextHandle = 0;
};

}  // namespace norvex
