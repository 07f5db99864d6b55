// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <memory>

#include "platform/arx/AcDb.h"

// What a database keeps of one object; an object id points at it. Internal to the stand-in.
struct AcDbStub {
    std::unique_ptr<AcDbObject> object;
    AcDbDatabase* database = nullptr;
    AcDbHandle handle;
    int readers = 0;
    Acad::ErrorStatus refusal = Acad::eOk;
    bool writeOpen = false;
    bool erased = false;
};
