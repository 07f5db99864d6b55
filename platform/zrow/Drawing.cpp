// SPDX-License-Identifier: Apache-2.0
#include "platform/zrow/Drawing.h"

#include <stdexcept>

#include "platform/text/Utf8.h"

namespace norvex {

DrawingText::DrawingText(const char* utf8) : text(norvex::text::FromUtf8(utf8 != nullptr ? utf8 : "")) {
}

Drawing::Drawing() : m_database(std::make_unique<AcDbDatabase>()) {
}
Drawing::Drawing(Drawing&&) noexcept = default;
Drawing& Drawing::operator=(Drawing&&) noexcept = default;
Drawing::~Drawing() = default;

Drawing& Drawing::pipe(const AcGePoint3d& start, const AcGePoint3d& end, const DrawingText& path) {
    return entity(std::make_unique<ZrOwPolyLine>(start, end), path);
}

Drawing& Drawing::mainLine(const AcGePoint3d& start, const AcGePoint3d& end, const ZrOwMainPipeInfo& info,
                           const DrawingText& path) {
    return entity(std::make_unique<ZrOwMainLine>(start, end, info), path);
}

Drawing& Drawing::riser(const AcGePoint2d& plan, double level1, double level2, const DrawingText& path) {
    return entity(std::make_unique<ZrOwDownLine>(plan, level1, level2), path);
}

Drawing& Drawing::groove(double elevation, const DrawingText& path) {
    return entity(std::make_unique<ZrOwGroove>(elevation), path);
}

Drawing& Drawing::node(const AcGePoint3d& at, const DrawingText& path) {
    return entity(std::make_unique<ZrOwNode>(at), path);
}

Drawing& Drawing::fitting(const AcGePoint3d& at, const DrawingText& path) {
    return entity(std::make_unique<ZrOwFittingBase>(at), path);
}

Drawing& Drawing::leadContainer(const DrawingText& path) {
    return entity(std::make_unique<ZrOwLeadContainer>(), path);
}

Drawing& Drawing::leadBuried(AcDbHandle container, const DrawingText& path) {
    auto lead = std::make_unique<ZrOwLeadBuried>();
    AcDbObjectId id;
    m_database->getAcDbObjectId(id, false, container);
    lead->SetContainerId(id);
    return entity(std::move(lead), path);
}

Drawing& Drawing::foreign() {
    return entity(std::make_unique<AcDbEntity>());
}

Drawing& Drawing::entity(std::unique_ptr<AcDbEntity> made, const DrawingText& path) {
    AcDbEntity* const added = made.get();
    if (ZrOwEntity* owned = ZrOwEntity::cast(added)) {
        owned->SetAttName(path.text);
        const int separator = path.text.Find(u'\\');
        if (separator >= 0) {
            owned->SetSysCode(path.text.Left(separator + 1));
        }
    }
    const Acad::ErrorStatus status = m_database->addToModelSpace(std::move(made), m_lastId, AcDbHandle(m_nextHandle));
    m_nextHandle = 0;
    if (status != Acad::eOk) {
        throw std::invalid_argument("Drawing: the entity could not be added; its handle is in use or it is null");
    }
    m_entities.push_back(added);
    return *this;
}

Drawing& Drawing::handle(Adesk::UInt64 next) {
    m_nextHandle = next;
    return *this;
}

Drawing& Drawing::sysCode(const DrawingText& code) {
    if (ZrOwEntity* last = ZrOwEntity::cast(m_entities.empty() ? nullptr : m_entities.back())) {
        last->SetSysCode(code.text);
    }
    return *this;
}

Drawing& Drawing::property(const CString& name, const DrawingText& value) {
    if (ZrOwEntity* last = ZrOwEntity::cast(m_entities.empty() ? nullptr : m_entities.back())) {
        last->SetProperty(name, value.text);
    }
    return *this;
}

Drawing& Drawing::length(double measure) {
    if (ZrOwPolyLine* last = ZrOwPolyLine::cast(m_entities.empty() ? nullptr : m_entities.back())) {
        last->SetLength(measure);
    }
    return *this;
}

Drawing& Drawing::erased() {
    AcDbObject* opened = nullptr;
    if (acdbOpenObject(opened, m_lastId, AcDb::kForWrite) == Acad::eOk) {
        opened->erase();
        opened->close();
    }
    return *this;
}

Drawing& Drawing::unopenable() {
    m_database->refuseToOpen(m_lastId, Acad::eNotOpenForRead);
    return *this;
}

Drawing& Drawing::makeCurrent() {
    acdbHostApplicationServices()->setWorkingDatabase(m_database.get());
    return *this;
}

std::vector<ZrOwEntity*> Drawing::entities() const {
    std::vector<ZrOwEntity*> found;
    for (AcDbEntity* entity : m_entities) {
        if (ZrOwEntity* owned = ZrOwEntity::cast(entity)) {
            found.push_back(owned);
        }
    }
    return found;
}

}  // namespace norvex
