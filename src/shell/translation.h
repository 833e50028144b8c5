#pragma once
// The translation of the third language block of ini/Language1.ini, line by line beside the
// first: reading, pairing, editing and writing back. No windows here (frmTranslate shows it).
#include <stdexcept>
#include <string>
#include <vector>

namespace brindale::shell {

// The translation window opens files of at most this many lines.
inline constexpr int kTranslateMaxLines = 3001;

// Why a file cannot be translated or saved. The message text is the window's (by language key);
// this carries what it names.
struct TranslationError : std::runtime_error {
    enum class Kind { Unreadable, TooLong, KeysDiffer, SaveFailed };
    TranslationError(Kind k, std::string file, std::string reason, int count = 0, int lineA = 0, int lineB = 0);
    Kind kind;
    std::string file;
    std::string reason;  // the system's reason for Unreadable and SaveFailed
    int count;           // TooLong: the file's line count
    int lineA, lineB;    // KeysDiffer: the two lines, counted from 1
};

// One row of the two lists: a line of the first block with a value and its line in the third.
struct TranslationPair {
    int original = 0;     // line index in the file, from 0
    int translation = 0;  // line index of the paired line of the third block
    std::string originalKey, originalValue;  // the key part keeps its "="
    std::string translationKey, translationValue;
};

class TranslationFile {
public:
    // Reads and pairs the file. Throws TranslationError: unreadable, more than 3001 lines, or a
    // pair of lines whose keys (or headers, markers, empty lines) do not correspond.
    static TranslationFile load(const std::string& path);

    const std::string& path() const { return path_; }
    int lineCount() const { return static_cast<int>(lines_.size()); }
    // The rows of the lists in file order.
    const std::vector<TranslationPair>& pairs() const { return pairs_; }
    void setTranslation(size_t row, const std::string& value);

    // The whole file as it would be written: every line with its own line end, the third block's
    // paired lines joined again from key part and value.
    std::string text() const;
    // Writes aside, then renames over the file, so that a failure leaves the old file whole.
    // Throws TranslationError (SaveFailed).
    void save() const;

    // The index of the third block's line that pairs with line i of the first for a file of n
    // lines: i + 2k with k = n / 3, rounded when n is no multiple of 3.
    static int pairedLine(int i, int n);
    // How many lines of the first block are paired: the whole part of n / 3.
    static int pairedCount(int n) { return n / 3; }

private:
    struct Line {
        std::string text;  // without its line end
        std::string end;   // "\r\n", "\n" or "" (the last line without one)
    };
    std::string path_;
    std::vector<Line> lines_;
    std::vector<TranslationPair> pairs_;
};

}  // namespace brindale::shell
