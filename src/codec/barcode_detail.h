// Throwing forms of the barcode routines, for the record builders.
#pragma once

#include "codec/barcode.h"

namespace brindale::codec::detail {

int16_t inheritedSetting(InheritanceSource* source, const PluRow& row, int kind);
// Resolves one remembered setting: the remembered value when the row's key matches, else a
// lookup whose result is remembered (without moving the key).
int64_t resolveRemembered(InheritanceSource* source, RememberedSettings& rem, int64_t& slot, const PluRow& row,
                          int kind);
int itemDigitsOfLine(std::string_view line);
int builtInItemDigits(const BarcodeLists* lists, int64_t format, int64_t kind);
void setEANData(const CodecEnvironment& env, RememberedSettings& remembered, PluRow& row, bool inherit);
void splitEANData(const CodecEnvironment& env, PluRow& row);

}  // namespace brindale::codec::detail
