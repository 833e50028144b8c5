#include <gtest/gtest.h>

#include <set>

#include "codec/plu_row.h"
#include "codec/small_records.h"

namespace brindale::codec {
namespace {

TEST(Columns, PluTableHasEveryColumnOnce) {
  std::set<std::string> names;
  for (const auto& c : pluColumns()) EXPECT_TRUE(names.insert(c.name).second) << c.name;
  // 80 item, 10 discount, 49 nutrition, 18 + 27 + 12 + 43 status, ST_No, SECT_No, KVRBinData,
  // Is_Selected, BCC.
  EXPECT_EQ(names.size(), 80u + 10u + 49u + 18u + 27u + 12u + 43u + 5u);
  EXPECT_EQ(std::string(pluColumns().front().name), "PLU_No");
}

TEST(Columns, LookupIgnoresCase) {
  const auto* c = findPluColumn("plu_sbdate");
  ASSERT_NE(c, nullptr);
  EXPECT_STREQ(c->name, "PLU_SBDate");
  EXPECT_EQ(c->kind, ColumnKind::Number);
  EXPECT_EQ(findPluColumn("Is_selected")->number, &PluRow::Is_Selected);
  EXPECT_EQ(findPluColumn("no_such_column"), nullptr);
}

TEST(Columns, AccessorsReachTheMembers) {
  PluRow r;
  r.*findPluColumn("PLU_UPrice")->number = 1234;
  EXPECT_EQ(r.PLU_UPrice, 1234);
  r.*findPluColumn("PLU_EANData")->text = "000123000005";
  EXPECT_EQ(r.PLU_EANData, "000123000005");
  const auto* commodity = findPluColumn("PLU_Commodity");
  EXPECT_EQ(commodity->kind, ColumnKind::Bytes);
  EXPECT_FALSE((r.*commodity->bytes).has_value());  // a new row's bytes are Null
  EXPECT_EQ(findPluColumn("PLU_CommodityFirst")->kind, ColumnKind::Text);
  EXPECT_EQ(findPluColumn("KVRBinData")->kind, ColumnKind::Bytes);
}

TEST(Columns, NewRowDefaults) {
  PluRow r;
  for (const auto& c : pluColumns()) {
    switch (c.kind) {
      case ColumnKind::Number: EXPECT_EQ(r.*c.number, 0) << c.name; break;
      case ColumnKind::Text: EXPECT_EQ(r.*c.text, "") << c.name; break;
      case ColumnKind::Bytes: EXPECT_FALSE((r.*c.bytes).has_value()) << c.name; break;
    }
  }
}

TEST(Columns, SmallTables) {
  EXPECT_EQ(deptColumns().size(), 12u);
  EXPECT_EQ(mainGroupColumns().size(), 13u);
  EXPECT_EQ(flexiBarcodeColumns().size(), 14u);
  const auto* bf = findColumn<DeptRow>(deptColumns(), "BarFormat");
  ASSERT_NE(bf, nullptr);
  EXPECT_EQ(bf->number, &DeptRow::barformat);
  EXPECT_EQ(findColumn<FlexiBarcodeRow>(flexiBarcodeColumns(), "fbar_cd")->number, &FlexiBarcodeRow::FBar_CD);
}

}  // namespace
}  // namespace brindale::codec
