#pragma once
// A PLU of the working database as the label preview prints it.
#include <cstdint>

#include "codec/environment.h"
#include "labelformat/label_sample.h"
#include "store/database.h"

namespace brindale::labelformat {

// The first PLU of that number (lowest store). Its barcode format, flags and list come from its
// own columns, or from main group, department and store where they hold 255; a format beyond
// the built-in lines (a flexi barcode) is drawn as the plain EAN-13 of format 0. found is false
// when there is no such PLU.
PluSample findPluSample(store::Database& db, int64_t pluNo, const codec::CodecEnvironment& env);

}  // namespace brindale::labelformat
