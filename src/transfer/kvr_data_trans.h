// KVRDataTrans: the transfer control as the rest of the program sees it.
// Six properties and one blocking call; it opens the working database by
// itself and reports nothing back to its caller. How the transfer is shown
// (headless, or in the progress window) is decided by its presenter.
#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <stdexcept>
#include <string>
#include <vector>

#include "transfer/engine.h"
#include "transfer/language.h"
#include "transfer/transfer_log.h"

namespace brindale::transfer {

// Raised when a store or section number does not fit a byte; the caller's
// own message names the number.
class TransferOverflow : public std::overflow_error {
public:
    explicit TransferOverflow(const std::string& what) : std::overflow_error(what) {}
};

class KVRDataTrans {
public:
    // Shows (or not) a running transfer: runs engine.run(...) and returns
    // its summary only when the transfer has ended.
    using Presenter = std::function<TransferSummary(TransferEngine& engine, const LanguageTexts& texts)>;

    KVRDataTrans();

    void setDatabasePath(const std::string& path) { databasePath_ = path; }
    // Take the program's 16-bit numbers; outside 0..255 they throw TransferOverflow.
    void setStoreNumber(int value);
    void setSectionNumber(int value);
    void setTransferMode(int value);
    void setTableList(const std::vector<std::string>& identifiers) { tableList_ = identifiers; }
    void setLanguageText(const std::string& text) { languageText_ = text; }

    const std::string& DatabasePath() const { return databasePath_; }
    int StoreNumber() const { return store_; }
    int SectionNumber() const { return section_; }
    int TransferMode() const { return mode_; }
    const std::vector<std::string>& TableList() const { return tableList_; }
    const std::string& LanguageText() const { return languageText_; }

    // Rows of KVR_<code> that stay out of the next transfer although marked (a PLU whose record
    // could not be built keeps its mark, but its old record is not sent). Cleared by StartTransfer.
    void setHeldBack(const std::string& code, std::vector<int64_t> rowids) { heldBack_[code] = std::move(rowids); }

    // Runs the whole transfer; returns when it has ended. The result is the
    // number of scales that did not finish (callers may ignore it).
    int StartTransfer();

    // Engine settings (port, limits, parallel scales); tests and benchmarks
    // point the control at emulated scales with these.
    void setOptions(const TransferOptions& options) { options_ = options; }
    const TransferOptions& options() const { return options_; }
    void setPresenter(Presenter presenter) { presenter_ = std::move(presenter); }
    // The clock that stamps the history's rows (the system clock unless a test sets one).
    void setHistoryClock(WallClock clock) { clock_ = std::move(clock); }
    // The outcome of the last call, for tests and logs.
    const TransferSummary& lastSummary() const { return last_; }

private:
    std::string databasePath_;
    int store_ = 0;
    int section_ = 0;
    int mode_ = 0;
    std::vector<std::string> tableList_;
    std::string languageText_;
    TransferOptions options_;
    Presenter presenter_;
    WallClock clock_;
    TransferSummary last_;
    std::map<std::string, std::vector<int64_t>> heldBack_;
};

// Text of a summary for logs and the headless presenter, in the given texts.
std::string summaryText(const TransferSummary& summary, const LanguageTexts& texts);
// One line for a scale's outcome: state, and reason with detail when it failed.
std::string outcomeText(const ScaleOutcome& outcome, const LanguageTexts& texts);

}  // namespace brindale::transfer
