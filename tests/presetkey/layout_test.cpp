// The layouts of the shipped key sheet table, the faults of a damaged one, and the geometry.
#include <gtest/gtest.h>

#include "presetkey/layout.h"
#include "support/temp_app.h"

namespace pk = brindale::presetkey;
using brindale::testing::TempApp;

namespace {

std::string shipped() { return brindale::testing::sourceRoot() + "/ini/PresetKey1.ini"; }

const char* kGood =
    "keyType=A,B,C,D,E,F,G,H,I,J\n"
    "keyNum=74,40,32,56,76,32,56,72,120,96\n"
    "rows=6,4,4,4,6,2,7,6,8,8\n"
    "cols=13,10,8,14,13,16,8,12,15,12\n"
    "RowSpacing=1.8,2.0,2.2,1.7,1.8,1.5,2.0,1.9,1.6,1.8\n"
    "CharNum=10,10,10,10,10,8,10,10,8,10\n"
    "Order=0,0,0,0,0,0,0,0,0,0\n";

// A table with one line replaced (or removed, when `with` is empty).
std::string tableWith(const std::string& key, const std::string& with) {
    std::string body;
    std::string good = kGood;
    size_t from = 0;
    while (from < good.size()) {
        size_t nl = good.find('\n', from);
        std::string line = good.substr(from, nl - from);
        from = nl + 1;
        if (line.rfind(key + "=", 0) == 0) {
            if (!with.empty()) body += key + "=" + with + "\n";
        } else {
            body += line + "\n";
        }
    }
    return "<Standard>\n[PresetKey]\n" + body + "\n";
}

pk::LayoutFault faultOf(const std::string& content, int layout, std::string* message = nullptr) {
    TempApp app(false);
    app.write("PresetKey1.ini", content);
    try {
        pk::loadLayout(app.path("PresetKey1.ini"), "Standard", layout);
    } catch (const pk::LayoutError& e) {
        if (message) *message = e.what();
        return e.fault;
    }
    ADD_FAILURE() << "no fault";
    return pk::LayoutFault::Beyond;
}

}  // namespace

TEST(PresetLayout, ShippedLayoutZeroIsSixByThirteenWithSeventyFourKeys) {
    auto l = pk::loadLayout(shipped(), "Standard", 0);
    EXPECT_EQ(l.name, "Alder-A (74 keys)");
    EXPECT_EQ(l.keyNum, 74);
    EXPECT_EQ(l.rows, 6);
    EXPECT_EQ(l.cols, 13);
    EXPECT_DOUBLE_EQ(l.spacing, 1.8);
    EXPECT_EQ(l.charNum, 10);
    EXPECT_EQ(l.order, 0);
    auto b = pk::loadLayout(shipped(), "Chinese", 8);
    EXPECT_EQ(b.keyNum, 120);
    EXPECT_EQ(b.rows * b.cols, 120);
    EXPECT_DOUBLE_EQ(b.spacing, 1.6);
}

TEST(PresetLayout, EveryShippedLayoutFitsLandscapeA4AndItsGeometryHolds) {
    for (int n = 0; n < pk::kLayoutCount; ++n) {
        SCOPED_TRACE(n);
        auto l = pk::loadLayout(shipped(), "Standard", n);
        EXPECT_LE(pk::pictureWidth(l), 29.7);
        EXPECT_LE(pk::pictureHeight(l), 21.0);
        const double s = l.spacing;
        for (int i = 0; i < l.rows; ++i)
            for (int j = 0; j < l.cols; ++j) {
                const int k = pk::keyAt(l, j, i);
                EXPECT_EQ(pk::getKeyNumber(l, 1 + (j + 0.5) * s, 1 + (i + 0.5) * s), k);
                auto c = pk::cellOf(l, k);
                EXPECT_EQ(c.row, i + 1);
                EXPECT_EQ(c.column, j + 1);
                EXPECT_DOUBLE_EQ(pk::cellLeft(l, k), 1 + j * s);
                EXPECT_DOUBLE_EQ(pk::cellTop(l, k), 1 + i * s);
            }
        // Every outer border and beyond gives -1.
        const double w = l.cols * s + 1, h = l.rows * s + 1;
        for (double y : {1.0 + s / 2, h - s / 2}) {
            EXPECT_EQ(pk::getKeyNumber(l, 1.0, y), -1);
            EXPECT_EQ(pk::getKeyNumber(l, 0.5, y), -1);
            EXPECT_EQ(pk::getKeyNumber(l, w, y), -1);
            EXPECT_EQ(pk::getKeyNumber(l, w + 0.3, y), -1);
        }
        for (double x : {1.0 + s / 2, w - s / 2}) {
            EXPECT_EQ(pk::getKeyNumber(l, x, 1.0), -1);
            EXPECT_EQ(pk::getKeyNumber(l, x, h), -1);
            EXPECT_EQ(pk::getKeyNumber(l, x, h + s / 4), -1);  // the mark under the grid
        }
    }
}

TEST(PresetLayout, SeventyFourKeysNumberFromTheBottomLeftOnToSeventyEight) {
    auto l = pk::loadLayout(shipped(), "Standard", 0);
    EXPECT_EQ(pk::keyAt(l, 0, 5), 1);    // bottom left
    EXPECT_EQ(pk::keyAt(l, 0, 4), 14);   // above it
    EXPECT_EQ(pk::keyAt(l, 12, 0), 78);  // top right, beyond the 74 keys
    EXPECT_EQ(pk::keyAt(l, 9, 0), 75);
    EXPECT_EQ(pk::cellOf(l, 1).row, 6);
    EXPECT_EQ(pk::cellOf(l, 14).row, 5);
    EXPECT_EQ(pk::cellOf(l, 14).column, 1);
}

TEST(PresetLayout, AClickExactlyOnTheLeftBorderGivesMinusOne) {
    auto l = pk::loadLayout(shipped(), "Standard", 0);
    EXPECT_EQ(pk::getKeyNumber(l, 1.0, 3.0), -1);
    EXPECT_EQ(pk::getKeyNumber(l, 1.0001, 3.0), pk::keyAt(l, 0, 1));
}

TEST(PresetLayout, PictureSizeInCentimetres) {
    auto l = pk::loadLayout(shipped(), "Standard", 0);
    EXPECT_DOUBLE_EQ(pk::pictureWidth(l), 13 * 1.8 + 2);
    EXPECT_DOUBLE_EQ(pk::pictureHeight(l), 6 * 1.8 + 1 + 0.9 + 1);
}

TEST(PresetLayoutFaults, EachFaultNamesFileKeyAndLayout) {
    std::string m;
    EXPECT_EQ(faultOf(tableWith("rows", ""), 3, &m), pk::LayoutFault::NoKey);
    EXPECT_NE(m.find("PresetKey1.ini"), std::string::npos) << m;
    EXPECT_NE(m.find("key rows"), std::string::npos) << m;
    EXPECT_NE(m.find("layout 3"), std::string::npos) << m;
    EXPECT_EQ(faultOf(tableWith("cols", "13,10,8,14,13,16,8,12,15"), 0, &m), pk::LayoutFault::ShortList);
    EXPECT_NE(m.find("key cols"), std::string::npos) << m;
    // A bad value anywhere in a list is found whichever layout is asked for.
    EXPECT_EQ(faultOf(tableWith("keyNum", "74,40,32,56,76,32,56,72,x20,96"), 0, &m), pk::LayoutFault::NotNumber);
    EXPECT_NE(m.find("x20"), std::string::npos) << m;
    EXPECT_EQ(faultOf(tableWith("RowSpacing", "0,2.0,2.2,1.7,1.8,1.5,2.0,1.9,1.6,1.8"), 0), pk::LayoutFault::BadSize);
    EXPECT_EQ(faultOf(tableWith("RowSpacing", "1.8,2.0,2.2,1.7,1.8,1.5,2.0,1.9,1.6,abc"), 0),
              pk::LayoutFault::NotNumber);
    EXPECT_EQ(faultOf(tableWith("keyNum", "79,40,32,56,76,32,56,72,120,96"), 0, &m), pk::LayoutFault::TooManyKeys);
    EXPECT_NE(m.find("key keyNum"), std::string::npos) << m;
    EXPECT_EQ(faultOf(tableWith("rows", "0,4,4,4,6,2,7,6,8,8"), 0), pk::LayoutFault::BadSize);
    EXPECT_EQ(faultOf(kGood, 0), pk::LayoutFault::NoSection);  // no block, no section
    EXPECT_EQ(faultOf(tableWith("Order", "0"), 0), pk::LayoutFault::ShortList);
}

TEST(PresetLayoutFaults, ALayoutBeyondTheListsIsRefused) {
    std::string m;
    TempApp app(false);
    app.write("PresetKey1.ini", tableWith("Order", "0,0,0,0,0,0,0,0,0,0"));
    EXPECT_NO_THROW(pk::loadLayout(app.path("PresetKey1.ini"), "Standard", 9));
    EXPECT_EQ(faultOf(tableWith("Order", "0,0,0,0,0,0,0,0,0,0"), 10, &m), pk::LayoutFault::Beyond);
    EXPECT_NE(m.find("layout 10"), std::string::npos) << m;
    EXPECT_EQ(faultOf(tableWith("Order", "0,0,0,0,0,0,0,0,0,0"), -1), pk::LayoutFault::Beyond);
}
