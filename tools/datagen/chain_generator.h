#pragma once
// A seeded, realistic chain written into an empty working database: stores, sections, scales,
// departments, main groups, flexi barcodes, search sets and PLUs with every kind of field in use
// (texts of several lines, nutrition, discounts, barcodes). The same seed gives the same chain.
#include <cstdint>

#include "codec/environment.h"
#include "store/database.h"

namespace brindale::datagen {

struct ChainShape {
    int stores = 2;
    int sectionsPerStore = 2;
    int scalesPerSection = 3;
    int departmentsPerStore = 8;
    int mainGroupsPerDepartment = 4;
    int searchSetsPerStore = 2;
    long plus = 1000;
};

// The PLUs with an item code take every barcode format 0..32 of both lists, then the flexi
// formats 33 to 35 of both kinds, in turn: kBarcodeSlots of them a round. Every eighth PLU may
// have no item code. Item codes have at most the N of their format's line, as the editor allows.
inline constexpr long kBarcodeSlots = 72;

// PLU rows are inserted as the editor leaves them, without a record: the end packs them. Needs
// the barcode lists of the parameter file in `env`.
void generateChain(store::Database& db, const codec::CodecEnvironment& env, const ChainShape& shape,
                   uint32_t seed);

}  // namespace brindale::datagen
