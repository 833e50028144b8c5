#pragma once
// Departments and main groups with names in another script, saved as the property forms save
// them (the record built in the run's code page): shared by the code page tests.
#include <cstdint>
#include <string>
#include <vector>

#include "mirror/mirror_fixture.h"
#include "store/recordset.h"
#include "store/small_record_builder.h"

namespace brindale::testing {

inline const std::string kMeat = "\xE9\xB2\x9C\xE8\x82\x89\xE7\x86\x9F\xE9\xA3\x9F";  // 鲜肉熟食
inline const std::string kCold = "\xE5\x86\xB7\xE7\x9B\x98";                          // 冷盘
inline const std::vector<uint8_t> kMeatGbk = {0xCF, 0xCA, 0xC8, 0xE2, 0xCA, 0xEC, 0xCA, 0xB3};

inline void addDept(MirrorChain& c, int no, const std::string& name) {
    store::Recordset rs(c.db(), "KVR_20");
    rs.addNew();
    rs.setValue("DP_No", no);
    rs.setValue("DP_Name", name);
    rs.setValue("ST_No", 1);
    store::buildSmallRecord(*c.state->codePage, "KVR_20", rs);
    rs.update();
}

inline void addMainGroup(MirrorChain& c, int no, int dept, const std::string& name) {
    store::Recordset rs(c.db(), "KVR_23");
    rs.addNew();
    rs.setValue("MG_No", no);
    rs.setValue("MG_Name", name);
    rs.setValue("ST_No", 1);
    rs.setValue("DP_No", dept);
    store::buildSmallRecord(*c.state->codePage, "KVR_23", rs);
    rs.update();
}

}  // namespace brindale::testing
