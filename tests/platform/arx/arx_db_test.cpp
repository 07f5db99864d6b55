// SPDX-License-Identifier: Apache-2.0
#include "platform/arx/AcDbDatabase.h"
#include "support/TextPrinter.h"

#include <gtest/gtest.h>

#include <limits>
#include <memory>
#include <vector>

namespace {

class Mark : public AcDbEntity {
  public:
    ACRX_DECLARE_MEMBERS(Mark)
};
ACRX_DEFINE_MEMBERS(Mark, AcDbEntity)

using Handles = std::vector<Adesk::UInt64>;

class Database : public testing::Test {
  protected:
    AcDbObjectId Add(Adesk::UInt64 handle = 0) {
        AcDbObjectId id;
        EXPECT_EQ(database.addToModelSpace(std::make_unique<AcDbEntity>(), id, AcDbHandle(handle)), Acad::eOk);
        return id;
    }

    void Erase(AcDbObjectId id, bool erasing = true) {
        AcDbObject* object = nullptr;
        ASSERT_EQ(acdbOpenObject(object, id, AcDb::kForWrite, true), Acad::eOk);
        EXPECT_EQ(object->erase(erasing), Acad::eOk);
        object->close();
    }

    std::unique_ptr<AcDbBlockTableRecordIterator> Iterator(bool atBeginning = true, bool skipErased = true) {
        AcDbBlockTableRecord* space = nullptr;
        EXPECT_EQ(acdbOpenObject(space, database.modelSpaceId()), Acad::eOk);
        AcDbBlockTableRecordIterator* iterator = nullptr;
        EXPECT_EQ(space->newIterator(iterator, atBeginning, skipErased), Acad::eOk);
        space->close();
        return std::unique_ptr<AcDbBlockTableRecordIterator>(iterator);
    }

    Handles Walk(bool forward, bool skipErased) {
        Handles handles;
        for (const auto iterator = Iterator(forward, skipErased); !iterator->done();
             iterator->step(forward, skipErased)) {
            AcDbObjectId id;
            EXPECT_EQ(iterator->getEntityId(id), Acad::eOk);
            handles.push_back(id.handle().value());
        }
        return handles;
    }

    AcDbDatabase database;
};

}  // namespace

TEST(ObjectHandles, ReadHexadecimalTextOfEitherLetterCase) {
    EXPECT_EQ(AcDbHandle(u"2F1").value(), 0x2F1U);
    EXPECT_EQ(AcDbHandle(u"2f1").value(), 0x2F1U);
    EXPECT_EQ(AcDbHandle(u"00000000000000AB").value(), 0xABU);
    EXPECT_EQ(AcDbHandle(u"FFFFFFFFFFFFFFFF").value(), std::numeric_limits<Adesk::UInt64>::max());
}

TEST(ObjectHandles, AreTheSameWithAnyNumberOfLeadingZeros) {
    for (const int zeros : {0, 1, 15, 16, 17, 30, 100'000}) {
        EXPECT_EQ(AcDbHandle(CString(u'0', zeros) + u"2F1").value(), 0x2F1U) << zeros;
        EXPECT_EQ(AcDbHandle(CString(u'0', zeros) + u"FFFFFFFFFFFFFFFF").value(),
                  std::numeric_limits<Adesk::UInt64>::max())
            << zeros;
        EXPECT_TRUE(AcDbHandle(CString(u'0', zeros)).isNull()) << zeros;
        EXPECT_TRUE(AcDbHandle(CString(u'0', zeros) + u"2G1").isNull()) << zeros;
    }
}

TEST(ObjectHandles, AreNullForATextBeyond64Bits) {
    // Not the handle of the digits that would fit: that may be another object's.
    EXPECT_TRUE(AcDbHandle(u"100000000000002F1").isNull());
    EXPECT_TRUE(AcDbHandle(u"0100000000000002F1").isNull());
    EXPECT_TRUE(AcDbHandle(u"2F10000000000000000").isNull());
}

TEST(ObjectHandles, AreNullForAnyOtherText) {
    for (const char16_t* text :
         {u"", u"ZZ", u"1G", u"0x1", u" 1", u"-1", u"10000000000000000", u"0010000000000000000"}) {
        EXPECT_TRUE(AcDbHandle(text).isNull()) << norvex::text::ToUtf8(text);
    }
    EXPECT_TRUE(AcDbHandle(static_cast<const TCHAR*>(nullptr)).isNull());
}

TEST(ObjectHandles, HaveALowAndAHighHalf) {
    const AcDbHandle handle(0x10, 0x1);
    EXPECT_EQ(handle.value(), 0x1'00000010U);
    EXPECT_EQ(handle.low(), 0x10U);
    EXPECT_EQ(handle.high(), 0x1U);
    EXPECT_TRUE(AcDbHandle(Adesk::UInt64{1}) < handle);
    EXPECT_TRUE(AcDbHandle() != handle);
}

TEST(ObjectIds, OfNothingAreNull) {
    const AcDbObjectId id;
    EXPECT_TRUE(id.isNull());
    EXPECT_FALSE(id.isValid());
    EXPECT_FALSE(id.isErased());
    EXPECT_TRUE(id.handle().isNull());
    EXPECT_EQ(id.database(), nullptr);
    AcDbObject* object = nullptr;
    EXPECT_EQ(acdbOpenObject(object, id), Acad::eNullObjectId);
}

TEST_F(Database, MovesNothingForWhichRoomWasMade) {
    const AcDbObjectId before = Add(7);
    database.reserveModelSpace(1000);
    const AcDbObjectId after = Add(9);
    EXPECT_EQ(database.modelSpaceSize(), 2U);
    EXPECT_EQ(before.handle().value(), 7U);
    AcDbObjectId found;
    EXPECT_EQ(database.getAcDbObjectId(found, false, AcDbHandle(Adesk::UInt64{9})), Acad::eOk);
    EXPECT_EQ(found, after);
}

TEST_F(Database, StartsWithAnEmptyModelSpace) {
    EXPECT_EQ(database.modelSpaceSize(), 0U);
    EXPECT_EQ(Walk(true, true), Handles());
    EXPECT_EQ(database.openCount(), 0);
}

TEST_F(Database, GivesHandlesUpFrom1AndPastThoseInUse) {
    EXPECT_EQ(Add().handle().value(), 1U);
    Add(2);
    EXPECT_EQ(Add().handle().value(), 3U);
    EXPECT_EQ(Add(0x1'00000000).handle().value(), 0x1'00000000U);
    EXPECT_EQ(Add().handle().value(), 4U);
}

TEST_F(Database, RefusesAHandleInUseAndNoEntity) {
    Add(5);
    AcDbObjectId id;
    EXPECT_EQ(database.addToModelSpace(std::make_unique<AcDbEntity>(), id, AcDbHandle(Adesk::UInt64{5})),
              Acad::eHandleInUse);
    EXPECT_TRUE(id.isNull());
    EXPECT_EQ(database.addToModelSpace(nullptr, id), Acad::eInvalidInput);
    EXPECT_EQ(database.modelSpaceSize(), 1U);
}

TEST_F(Database, FindsIdsByHandleErasedOnesToo) {
    const AcDbObjectId first = Add(0xA);
    const AcDbObjectId second = Add(0xB);
    Erase(second);
    AcDbObjectId id;
    EXPECT_EQ(database.getAcDbObjectId(id, false, AcDbHandle(u"A")), Acad::eOk);
    EXPECT_EQ(id, first);
    EXPECT_TRUE(id.isValid());
    EXPECT_EQ(database.getAcDbObjectId(id, false, AcDbHandle(u"B")), Acad::eOk);
    EXPECT_EQ(id, second);
    EXPECT_FALSE(id.isValid());
    EXPECT_TRUE(id.isErased());
    EXPECT_EQ(database.getAcDbObjectId(id, false, AcDbHandle(u"C")), Acad::eUnknownHandle);
    EXPECT_TRUE(id.isNull());
    EXPECT_EQ(database.getAcDbObjectId(id, false, AcDbHandle()), Acad::eUnknownHandle);
}

TEST_F(Database, IdsStayGoodWhileTheDrawingGrows) {
    const AcDbObjectId first = Add();
    for (int count = 0; count < 10'000; ++count) {
        Add();
    }
    EXPECT_EQ(first.handle().value(), 1U);
    EXPECT_EQ(first.database(), &database);
}

TEST_F(Database, CountsOpeningsUntilTheyAreClosed) {
    const AcDbObjectId id = Add();
    AcDbObject* first = nullptr;
    AcDbObject* second = nullptr;
    ASSERT_EQ(acdbOpenObject(first, id), Acad::eOk);
    ASSERT_EQ(acdbOpenObject(second, id), Acad::eOk);
    EXPECT_EQ(database.openCount(), 2);
    EXPECT_TRUE(first->isReadEnabled());
    EXPECT_FALSE(first->isWriteEnabled());
    EXPECT_EQ(first->close(), Acad::eOk);
    EXPECT_EQ(second->close(), Acad::eOk);
    EXPECT_EQ(database.openCount(), 0);
    EXPECT_EQ(second->close(), Acad::eNotOpenForRead);
    EXPECT_EQ(database.openCount(), 0);
    EXPECT_EQ(database.totalOpens(), 2);
}

TEST_F(Database, ReadersAndAWriterExcludeEachOther) {
    const AcDbObjectId id = Add();
    AcDbObject* reader = nullptr;
    AcDbObject* writer = nullptr;
    ASSERT_EQ(acdbOpenObject(reader, id), Acad::eOk);
    EXPECT_EQ(acdbOpenObject(writer, id, AcDb::kForWrite), Acad::eNotOpenForWrite);
    EXPECT_EQ(writer, nullptr);
    reader->close();
    ASSERT_EQ(acdbOpenObject(writer, id, AcDb::kForWrite), Acad::eOk);
    EXPECT_EQ(acdbOpenObject(reader, id), Acad::eWasOpenForWrite);
    EXPECT_EQ(reader, nullptr);
    EXPECT_TRUE(writer->isWriteEnabled());
    writer->close();
    EXPECT_EQ(acdbOpenObject(reader, id), Acad::eOk);
    reader->close();
    EXPECT_EQ(database.openCount(), 0);
}

TEST_F(Database, OpensErasedObjectsOnlyOnRequest) {
    const AcDbObjectId id = Add();
    Erase(id);
    AcDbObject* object = nullptr;
    EXPECT_EQ(acdbOpenObject(object, id), Acad::eWasErased);
    ASSERT_EQ(acdbOpenObject(object, id, AcDb::kForRead, true), Acad::eOk);
    EXPECT_TRUE(object->isErased());
    EXPECT_EQ(object->erase(false), Acad::eNotOpenForWrite);
    object->close();
    Erase(id, false);
    EXPECT_TRUE(id.isValid());
}

TEST_F(Database, RefusesToOpenWhatItIsToldTo) {
    const AcDbObjectId id = Add();
    database.refuseToOpen(id, Acad::ePermanentlyErased);
    AcDbObject* object = nullptr;
    EXPECT_EQ(acdbOpenObject(object, id), Acad::ePermanentlyErased);
    EXPECT_EQ(object, nullptr);
    database.refuseToOpen(id, Acad::eOk);
    EXPECT_EQ(acdbOpenObject(object, id), Acad::eOk);
    object->close();
    database.refuseToOpen(AcDbObjectId(), Acad::eNotOpenForRead);
    EXPECT_EQ(database.openCount(), 0);
}

TEST_F(Database, OpensOneClassAndClosesWhatIsOfAnother) {
    AcDbObjectId mark;
    ASSERT_EQ(database.addToModelSpace(std::make_unique<Mark>(), mark), Acad::eOk);
    const AcDbObjectId plain = Add();
    Mark* opened = nullptr;
    EXPECT_EQ(acdbOpenObject(opened, plain), Acad::eNotThatKindOfClass);
    EXPECT_EQ(opened, nullptr);
    EXPECT_EQ(database.openCount(), 0);
    ASSERT_EQ(acdbOpenObject(opened, mark), Acad::eOk);
    EXPECT_EQ(opened->objectId(), mark);
    opened->close();
}

TEST_F(Database, ObjectsKnowTheirIdentity) {
    const AcDbObjectId id = Add(0x77);
    AcDbEntity* entity = nullptr;
    ASSERT_EQ(acdbOpenObject(entity, id), Acad::eOk);
    AcDbHandle handle;
    entity->getAcDbHandle(handle);
    EXPECT_EQ(handle.value(), 0x77U);
    EXPECT_EQ(entity->database(), &database);
    EXPECT_EQ(entity->objectId(), id);
    entity->close();

    AcDbEntity outside;
    outside.getAcDbHandle(handle);
    EXPECT_TRUE(handle.isNull());
    EXPECT_TRUE(outside.objectId().isNull());
    EXPECT_EQ(outside.database(), nullptr);
    EXPECT_EQ(outside.close(), Acad::eNoDatabase);
    EXPECT_EQ(outside.erase(), Acad::eNoDatabase);
    EXPECT_FALSE(outside.isErased());
}

TEST_F(Database, EntitiesWithoutRoomHaveNoExtents) {
    AcDbEntity entity;
    AcDbExtents box({1, 1, 1}, {2, 2, 2});
    EXPECT_EQ(entity.getGeomExtents(box), Acad::eNullExtents);
    EXPECT_TRUE(box.minPoint() == AcGePoint3d(1, 1, 1));
}

TEST_F(Database, BlockTableFindsModelSpaceInEitherLetterCase) {
    AcDbBlockTable* table = nullptr;
    ASSERT_EQ(database.getBlockTable(table, AcDb::kForRead), Acad::eOk);
    EXPECT_EQ(table->objectId(), database.blockTableId());
    AcDbBlockTableRecord* space = nullptr;
    for (const char16_t* name : {u"*Model_Space", u"*MODEL_SPACE"}) {
        ASSERT_EQ(table->getAt(name, space, AcDb::kForRead), Acad::eOk);
        EXPECT_EQ(space->objectId(), database.modelSpaceId());
        EXPECT_EQ(space->getName(), u"*Model_Space");
        space->close();
    }
    EXPECT_EQ(table->getAt(u"*Paper_Space", space, AcDb::kForRead), Acad::eKeyNotFound);
    EXPECT_EQ(space, nullptr);
    AcDbObjectId id;
    EXPECT_EQ(table->getAt(u"*Model_Space", id), Acad::eOk);
    EXPECT_EQ(id, database.modelSpaceId());
    EXPECT_EQ(table->getAt(u"", id), Acad::eKeyNotFound);
    EXPECT_TRUE(id.isNull());
    table->close();
    EXPECT_EQ(database.openCount(), 0);
}

TEST_F(Database, BlockTableTellsWhyModelSpaceDoesNotOpen) {
    AcDbBlockTable* table = nullptr;
    ASSERT_EQ(database.getBlockTable(table, AcDb::kForRead), Acad::eOk);
    database.refuseToOpen(database.modelSpaceId(), Acad::eOutOfMemory);
    AcDbBlockTableRecord* space = nullptr;
    EXPECT_EQ(table->getAt(ACDB_MODEL_SPACE, space, AcDb::kForRead), Acad::eOutOfMemory);
    database.refuseToOpen(database.modelSpaceId(), Acad::eOk);
    AcDbBlockTableRecord* writing = nullptr;
    ASSERT_EQ(acdbOpenObject(writing, database.modelSpaceId(), AcDb::kForWrite), Acad::eOk);
    EXPECT_EQ(table->getAt(ACDB_MODEL_SPACE, space, AcDb::kForRead), Acad::eWasOpenForWrite);
    writing->close();
    table->close();
    EXPECT_EQ(database.openCount(), 0);
}

TEST_F(Database, AppendsToABlockThatIsOpenForWriting) {
    AcDbBlockTableRecord* space = nullptr;
    ASSERT_EQ(acdbOpenObject(space, database.modelSpaceId()), Acad::eOk);
    auto entity = std::make_unique<AcDbEntity>();
    AcDbObjectId id;
    EXPECT_EQ(space->appendAcDbEntity(id, entity.get()), Acad::eNotOpenForWrite);
    space->close();
    ASSERT_EQ(acdbOpenObject(space, database.modelSpaceId(), AcDb::kForWrite), Acad::eOk);
    EXPECT_EQ(space->appendAcDbEntity(id, nullptr), Acad::eInvalidInput);
    AcDbEntity* const given = entity.get();
    ASSERT_EQ(space->appendAcDbEntity(id, entity.release()), Acad::eOk);
    EXPECT_EQ(id, given->objectId());
    EXPECT_EQ(space->appendAcDbEntity(id, given), Acad::eAlreadyInDb);
    space->close();
    EXPECT_EQ(database.modelSpaceSize(), 1U);
}

TEST_F(Database, WalksModelSpaceInTheOrderOfAppending) {
    for (const Adesk::UInt64 handle : {9U, 3U, 7U, 1U}) {
        Add(handle);
    }
    EXPECT_EQ(Walk(true, true), (Handles{9, 3, 7, 1}));
    EXPECT_EQ(Walk(false, true), (Handles{1, 7, 3, 9}));
}

TEST_F(Database, WalksPastErasedEntitiesUnlessToldOtherwise) {
    const std::vector<AcDbObjectId> ids = {Add(), Add(), Add(), Add(), Add()};
    for (const std::size_t erased : {0U, 2U, 4U}) {
        Erase(ids[erased]);
    }
    EXPECT_EQ(Walk(true, true), (Handles{2, 4}));
    EXPECT_EQ(Walk(false, true), (Handles{4, 2}));
    EXPECT_EQ(Walk(true, false), (Handles{1, 2, 3, 4, 5}));
    EXPECT_EQ(Walk(false, false), (Handles{5, 4, 3, 2, 1}));
}

TEST_F(Database, IteratorAtTheEndGivesNothing) {
    Add();
    const auto iterator = Iterator();
    iterator->step();
    EXPECT_TRUE(iterator->done());
    iterator->step();
    EXPECT_TRUE(iterator->done());
    AcDbObjectId id = database.modelSpaceId();
    EXPECT_EQ(iterator->getEntityId(id), Acad::eInvalidInput);
    EXPECT_TRUE(id.isNull());
    AcDbEntity* entity = nullptr;
    EXPECT_EQ(iterator->getEntity(entity, AcDb::kForRead), Acad::eInvalidInput);
    EXPECT_EQ(entity, nullptr);
    iterator->start();
    EXPECT_FALSE(iterator->done());
}

TEST_F(Database, IteratorOpensEntitiesAsItStandsAtThem) {
    const AcDbObjectId first = Add();
    const AcDbObjectId second = Add();
    database.refuseToOpen(first, Acad::eNotOpenForRead);
    const auto iterator = Iterator();
    AcDbEntity* entity = nullptr;
    EXPECT_EQ(iterator->getEntity(entity, AcDb::kForRead), Acad::eNotOpenForRead);
    EXPECT_EQ(entity, nullptr);
    iterator->step();
    ASSERT_EQ(iterator->getEntity(entity, AcDb::kForRead), Acad::eOk);
    EXPECT_EQ(entity->objectId(), second);
    entity->close();
    EXPECT_EQ(database.openCount(), 0);
}

TEST_F(Database, MakesNoIteratorWhenItIsToldTo) {
    database.refuseIterators(Acad::eOutOfMemory);
    AcDbBlockTableRecord* space = nullptr;
    ASSERT_EQ(acdbOpenObject(space, database.modelSpaceId()), Acad::eOk);
    AcDbBlockTableRecordIterator* iterator = nullptr;
    EXPECT_EQ(space->newIterator(iterator), Acad::eOutOfMemory);
    EXPECT_EQ(iterator, nullptr);
    space->close();
}

TEST(HostServices, HaveNoWorkingDatabaseUntilOneIsSet) {
    EXPECT_EQ(acdbHostApplicationServices()->workingDatabase(), nullptr);
    {
        AcDbDatabase database;
        acdbHostApplicationServices()->setWorkingDatabase(&database);
        AcDbDatabase other;
        EXPECT_EQ(acdbHostApplicationServices()->workingDatabase(), &database);
    }
    EXPECT_EQ(acdbHostApplicationServices()->workingDatabase(), nullptr)
        << "a destroyed drawing is no working database";
}
