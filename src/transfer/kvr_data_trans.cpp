#include "transfer/kvr_data_trans.h"

#include <iostream>

#include "transfer/database.h"

namespace brindale::transfer {

namespace {
int checkedByte(int value, const char* what) {
    if (value < 0 || value > 255)
        throw TransferOverflow(std::string(what) + " " + std::to_string(value) + " is outside 0 to 255");
    return value;
}
// Every transfer leaves its rows in the history, through a connection of its own, so that
// whichever window started it nothing has to be read back. The history is a record, not part
// of the transfer: whatever goes wrong here is told on stderr and nothing more.
void recordHistory(const TransferRequest& req, const TransferSummary& summary, const LanguageTexts& texts,
                   const std::string& start, int64_t durationMs) noexcept {
    try {
        std::string error;
        const auto rows = transferLogRows(req, summary, texts, start, durationMs);
        if (!appendTransferLog(resolveDatabasePath(req.databasePath), rows, error))
            std::cerr << "transfer history not written: " << error << "\n";
    } catch (const std::exception& e) {
        std::cerr << "transfer history not written: " << e.what() << "\n";
    } catch (...) {
        std::cerr << "transfer history not written\n";
    }
}
}  // namespace

KVRDataTrans::KVRDataTrans()
    : presenter_([](TransferEngine& engine, const LanguageTexts&) { return engine.run(nullptr); }),
      clock_([] { return std::chrono::system_clock::now(); }) {}

void KVRDataTrans::setStoreNumber(int value) { store_ = checkedByte(value, "store number"); }
void KVRDataTrans::setSectionNumber(int value) { section_ = checkedByte(value, "section number"); }
void KVRDataTrans::setTransferMode(int value) { mode_ = checkedByte(value, "transfer mode"); }

int KVRDataTrans::StartTransfer() {
    TransferRequest req;
    req.databasePath = databasePath_;
    req.store = store_;
    req.section = section_;
    req.mode = mode_;
    req.tables = tableList_;
    req.heldBack = std::move(heldBack_);
    heldBack_.clear();
    std::string start;
    try {
        start = isoLocalTime(clock_ ? clock_() : std::chrono::system_clock::now());
    } catch (...) {
        start = isoLocalTime(std::chrono::system_clock::now());
    }
    const auto began = std::chrono::steady_clock::now();
    TransferEngine engine(req, options_);
    const LanguageTexts texts(languageText_);
    last_ = presenter_(engine, texts);
    const auto ms = std::chrono::duration_cast<std::chrono::milliseconds>(std::chrono::steady_clock::now() - began);
    recordHistory(req, last_, texts, start, ms.count());
    if (last_.reason != FailReason::None) return 1;
    return int(last_.scales.size() - last_.countDone());
}

std::string outcomeText(const ScaleOutcome& o, const LanguageTexts& texts) {
    std::string s = texts.get(stateKey(o.state));
    if (o.state == ScaleState::Failed) {
        s += ": " + texts.get(reasonKey(o.reason));
        if (!o.detail.empty()) s += " (" + o.detail + ")";
    }
    return s;
}

std::string summaryText(const TransferSummary& summary, const LanguageTexts& texts) {
    std::string out;
    if (summary.reason != FailReason::None) {
        out = texts.get(reasonKey(summary.reason));
        if (!summary.detail.empty()) out += " (" + texts.text(summary.detail) + ")";
        return out;
    }
    out = LanguageTexts::format(texts.get("SummaryText"),
                                {std::to_string(summary.countDone()), std::to_string(summary.scales.size()),
                                 std::to_string(summary.countFailed())});
    for (const auto& o : summary.scales)
        out += "\n" + o.target.name + " " + o.target.paddedAddress + ": " + outcomeText(o, texts);
    for (const auto& n : summary.notes) out += "\n" + texts.text(n);
    return out;
}

}  // namespace brindale::transfer
