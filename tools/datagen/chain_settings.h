#pragma once
// The settings that show a generated chain: with more than one store the program must be in
// multi store mode, or the tree shows only the first store.
#include <string>

namespace brindale::datagen {

// Sets StoreMode in ini/SETTING1.cfg of `appDir` to 1 when `stores` is more than 1 and keeps
// every other line, the store name line included. The file is written aside and renamed over
// the old one, so that it is never half written. A single store leaves the file as it is.
void writeChainSettings(const std::string& appDir, int stores);

}  // namespace brindale::datagen
