// What the codec needs from the rest of the program, handed in by the caller: settings, the
// barcode lists of the parameter file, the code page and two small database lookups.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace brindale::codec {

class CodePage;

struct CodecSettings {
  int CountryIndex = 0;    // row of SYS_Country: chooses the shape of the nutrition block
  int ScaleTypeIndex = 0;  // scale model (0 "Alder", 1 "Birch")
  int PriceDecimals = 0;
  int WeightDecimals = 0;
};

// Ordered values of the parameter file's sections (the value of each key=value line, in file
// order, the REF line first where the section has one). Position 1 of a section is element 0.
struct BarcodeLists {
  std::vector<std::string> EAN_DISP, EAN_EDIT, ITF_DISP, ITF_EDIT, BAR_LAST_BYTE, EAN128C;
};

// The label and barcode settings of a main group, department or store row.
struct HierarchySettings {
  int64_t LabFormat = 0;
  int64_t BarFormat = 0;
  int64_t BarFlag = 0;
  int64_t Flag1 = 0;
  int64_t Flag2 = 0;
  int64_t DP_No = 0;  // main group rows only: the department the group belongs to
};

// Lookups behind getInheritedSetting; nullopt when the table has no such row.
class InheritanceSource {
 public:
  virtual ~InheritanceSource() = default;
  virtual std::optional<HierarchySettings> mainGroup(int64_t ST_No, int64_t MG_No) = 0;
  virtual std::optional<HierarchySettings> department(int64_t ST_No, int64_t DP_No) = 0;
  virtual std::optional<HierarchySettings> store(int64_t ST_No) = 0;
};

// The flexi barcode rows (KVR_14): FBar_ItemDigitNo of the row with this number and kind, or
// nullopt when there is none.
class FlexiBarcodeSource {
 public:
  virtual ~FlexiBarcodeSource() = default;
  virtual std::optional<int64_t> itemDigitNo(int64_t FBar_No, int64_t FBar_EANorITF) = 0;
};

struct CodecEnvironment {
  CodecSettings settings;
  const CodePage* codePage = nullptr;             // required for every routine that handles text
  const BarcodeLists* barcodeLists = nullptr;     // none: every built-in format line is missing
  InheritanceSource* inheritance = nullptr;       // none: every lookup finds no row
  FlexiBarcodeSource* flexiBarcodes = nullptr;    // none: every flexi format has no row
};

// The five values remembered across a pass of the encoder over many rows. The caller sets the
// store and main group to 0 before a pass, which forces the first lookup.
struct RememberedSettings {
  int64_t lastStore = 0;
  int64_t lastMainGroup = 0;
  int64_t lastLabelFormat = 0;
  int64_t lastBarFormat = 0;  // the whole barcode setting: flag times 100 plus format
  int64_t lastBarFlags = 0;
  void clearKey() { lastStore = lastMainGroup = 0; }
};

}  // namespace brindale::codec
