// Shared fixtures of the codec tests: a western code page, barcode lists of the shapes the
// parameter file gives, and database lookups that count how often they are asked.
#pragma once

#include <map>
#include <optional>
#include <tuple>
#include <vector>

#include "codec/barcode.h"
#include "codec/code_page.h"
#include "codec/environment.h"
#include "codec/plu_record.h"
#include "codec/plu_row.h"

namespace brindale::codec::test {

// Edit lines: character 1 and 3 the flag digits, character 5 (and 6) the item digits N. As in
// the parameter file each list starts with its REF line, then B00, B01, ...: format k reads the
// line keyed Bk.
inline BarcodeLists sampleBarcodeLists() {
  BarcodeLists l;
  //            REF       B00       B01            B02             B03      B04       B05
  l.EAN_EDIT = {"0,0,10", "0,0,10", "2,0,6,EAN13", "1,1,10,EAN13", "2,0,5", "2,0,x,", "2,0,7,"};
  l.ITF_EDIT = {"0,0,10", "0,0,10", "0,0,4,ITF14", "2,2,8,"};
  l.EAN_DISP = {"upper level", "none", "EAN13 2+6", "EAN13 1+1+10", "EAN13 2+5", "broken", "EAN13 2+7"};
  l.ITF_DISP = {"upper level", "none", "ITF14", "ITF 2+2+8"};
  l.BAR_LAST_BYTE = {"00", "01", "02"};
  return l;
}

class CountingInheritance : public InheritanceSource {
 public:
  std::map<std::pair<int64_t, int64_t>, HierarchySettings> mainGroups;   // (store, main group)
  std::map<std::pair<int64_t, int64_t>, HierarchySettings> departments;  // (store, department)
  std::map<int64_t, HierarchySettings> stores;
  int mainGroupLookups = 0, departmentLookups = 0, storeLookups = 0;

  std::optional<HierarchySettings> mainGroup(int64_t st, int64_t mg) override {
    ++mainGroupLookups;
    auto it = mainGroups.find({st, mg});
    if (it == mainGroups.end()) return std::nullopt;
    return it->second;
  }
  std::optional<HierarchySettings> department(int64_t st, int64_t dp) override {
    ++departmentLookups;
    auto it = departments.find({st, dp});
    if (it == departments.end()) return std::nullopt;
    return it->second;
  }
  std::optional<HierarchySettings> store(int64_t st) override {
    ++storeLookups;
    auto it = stores.find(st);
    if (it == stores.end()) return std::nullopt;
    return it->second;
  }
};

class FakeFlexi : public FlexiBarcodeSource {
 public:
  std::map<std::pair<int64_t, int64_t>, int64_t> rows;  // (FBar_No, FBar_EANorITF) -> digits
  int lookups = 0;
  std::optional<int64_t> itemDigitNo(int64_t no, int64_t kind) override {
    ++lookups;
    auto it = rows.find({no, kind});
    if (it == rows.end()) return std::nullopt;
    return it->second;
  }
};

struct Fixture {
  CodePage codePage{"CP1252"};
  BarcodeLists lists = sampleBarcodeLists();
  CountingInheritance inheritance;
  FakeFlexi flexi;
  CodecEnvironment env() {
    CodecEnvironment e;
    e.codePage = &codePage;
    e.barcodeLists = &lists;
    e.inheritance = &inheritance;
    e.flexiBarcodes = &flexi;
    return e;
  }
};

inline std::vector<uint8_t> bytes(std::initializer_list<int> v) {
  std::vector<uint8_t> out;
  for (int b : v) out.push_back(static_cast<uint8_t>(b));
  return out;
}

// A row with every flag 0 and both formats 0: the smallest record.
inline PluRow minimalRow() {
  PluRow r;
  r.PLU_No = 1;
  r.PLU_UPrice = 100;
  r.PLU_MG = 997;
  r.ST_No = 1;
  return r;
}

}  // namespace brindale::codec::test
