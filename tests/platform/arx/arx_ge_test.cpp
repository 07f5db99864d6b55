// SPDX-License-Identifier: Apache-2.0
#include "platform/arx/AcDb.h"
#include "platform/arx/AcGe.h"

#include <gtest/gtest.h>

TEST(Points, OfANewPointIsTheOrigin) {
    const AcGePoint3d point;
    EXPECT_EQ(point.x, 0.0);
    EXPECT_EQ(point.y, 0.0);
    EXPECT_EQ(point.z, 0.0);
    EXPECT_TRUE(point == AcGePoint3d::kOrigin);
}

TEST(Points, MeasureTheirDistanceInSpace) {
    EXPECT_EQ(AcGePoint3d(1, 2, 3).distanceTo({3, 5, 9}), 7.0);
    EXPECT_EQ(AcGePoint3d(1, 2, 3).distanceTo({1, 2, 3}), 0.0);
    EXPECT_EQ(AcGePoint3d(3, 5, 9).distanceTo({1, 2, 3}), 7.0);
}

TEST(Points, AreEqualWithinTheTolerance) {
    EXPECT_EQ(AcGeContext::gTol.equalPoint(), 1e-10);
    EXPECT_TRUE(AcGePoint3d(0, 0, 0).isEqualTo({1e-10, 0, 0})) << "at the tolerance";
    EXPECT_FALSE(AcGePoint3d(0, 0, 0).isEqualTo({1.1e-10, 0, 0}));
    EXPECT_FALSE(AcGePoint3d(0, 0, 0).isEqualTo({0.8e-10, 0.8e-10, 0})) << "in space, not on each axis";
    AcGeTol wide;
    wide.setEqualPoint(0.5);
    EXPECT_TRUE(AcGePoint3d(0, 0, 0).isEqualTo({0.5, 0, 0}, wide));
}

TEST(Points, FollowTheHostsTolerance) {
    const AcGeTol before = AcGeContext::gTol;
    AcGeContext::gTol.setEqualPoint(1.0);
    EXPECT_TRUE(AcGePoint3d(0, 0, 0) == AcGePoint3d(1, 0, 0));
    AcGeContext::gTol = before;
    EXPECT_TRUE(AcGePoint3d(0, 0, 0) != AcGePoint3d(1, 0, 0));
}

TEST(Vectors, MultiplyAsVectorsDo) {
    const AcGeVector3d x(1, 0, 0);
    const AcGeVector3d y(0, 1, 0);
    EXPECT_EQ(x.dotProduct(y), 0.0);
    EXPECT_EQ(x.crossProduct(y).z, 1.0);
    EXPECT_EQ(AcGeVector3d(3, 4, 0).length(), 5.0);
    EXPECT_TRUE(AcGePoint3d(1, 1, 1) + (AcGePoint3d(4, 5, 6) - AcGePoint3d(1, 1, 1)) == AcGePoint3d(4, 5, 6));
}

TEST(Extents, OfNothingHoldNoPoint) {
    const AcDbExtents box;
    EXPECT_GT(box.minPoint().x, box.maxPoint().x);
    EXPECT_GT(box.minPoint().y, box.maxPoint().y);
    EXPECT_GT(box.minPoint().z, box.maxPoint().z);
}

TEST(Extents, GrowByPointsAndBoxes) {
    AcDbExtents box;
    box.addPoint({1, 20, 3});
    EXPECT_TRUE(box.minPoint() == AcGePoint3d(1, 20, 3));
    EXPECT_TRUE(box.maxPoint() == AcGePoint3d(1, 20, 3));
    box.addPoint({10, 2, 30});
    EXPECT_TRUE(box.minPoint() == AcGePoint3d(1, 2, 3));
    EXPECT_TRUE(box.maxPoint() == AcGePoint3d(10, 20, 30));
    box.addExt({{-5, 5, 5}, {0, 99, 6}});
    EXPECT_TRUE(box.minPoint() == AcGePoint3d(-5, 2, 3));
    EXPECT_TRUE(box.maxPoint() == AcGePoint3d(10, 99, 30));
    box.addExt(AcDbExtents());
    EXPECT_TRUE(box.minPoint() == AcGePoint3d(-5, 2, 3)) << "a box without points adds none";
    EXPECT_TRUE(box.maxPoint() == AcGePoint3d(10, 99, 30));
}

TEST(Extents, RefuseCornersInTheWrongOrder) {
    AcDbExtents box;
    EXPECT_EQ(box.set({0, 0, 0}, {1, 1, 1}), Acad::eOk);
    EXPECT_EQ(box.set({2, 0, 0}, {1, 1, 1}), Acad::eInvalidInput);
    EXPECT_TRUE(box.maxPoint() == AcGePoint3d(1, 1, 1)) << "unchanged";
    EXPECT_EQ(box.set({1, 1, 1}, {1, 1, 1}), Acad::eOk);
}
