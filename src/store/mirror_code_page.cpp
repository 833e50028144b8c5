#include "store/mirror_code_page.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <sstream>

#include "codec/plu_row.h"
#include "store/fatal_error.h"
#include "store/text.h"

namespace fs = std::filesystem;

namespace brindale::store {

namespace {

constexpr std::string_view kKey = "CodePage";

}  // namespace

std::optional<std::string> readMirrorCodePage(const std::string& folder) {
    const std::string path = folder + "/" + kMirrorCodePageFile;
    std::error_code ec;
    if (!fs::exists(path, ec)) return std::nullopt;
    std::ifstream in(path, std::ios::binary);
    if (!in) throw FatalError(path, 0, "the file cannot be read");
    std::stringstream whole;
    whole << in.rdbuf();
    std::string text = whole.str();
    if (text.compare(0, 3, "\xEF\xBB\xBF") == 0) text.erase(0, 3);

    std::optional<std::string> page;
    long lineNo = 0;
    size_t pos = 0;
    while (pos < text.size()) {
        const size_t nl = text.find('\n', pos);
        const size_t end = nl == std::string::npos ? text.size() : nl;
        const std::string_view line = trimView(std::string_view(text).substr(pos, end - pos));
        pos = nl == std::string::npos ? text.size() : nl + 1;
        ++lineNo;
        if (line.empty()) continue;
        if (page) throw FatalError(path, lineNo, "only one line \"CodePage=<page>\" is expected here");
        const size_t eq = line.find('=');
        if (eq == std::string_view::npos || !iequals(trimView(line.substr(0, eq)), kKey))
            throw FatalError(path, lineNo, "the line must read \"CodePage=<page>\", not \"" + std::string(line) + "\"");
        const std::string_view name = trimView(line.substr(eq + 1));
        page = codec::scalePageName(name);
        if (!page)
            throw FatalError(path, lineNo,
                             "the code page \"" + std::string(name) + "\" is not one the scales are given");
    }
    if (!page) throw FatalError(path, 1, "the file names no code page (expected \"CodePage=<page>\")");
    return page;
}

void writeMirrorCodePage(const std::string& folder, const std::string& page) {
    const std::string path = folder + "/" + kMirrorCodePageFile;
    const std::string text = std::string(kKey) + "=" + page + "\r\n";
    // Reaches the disk with the rest of the new set, which is flushed as a whole before the swap.
    const int fd = ::open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0644);
    if (fd < 0) throw FatalError(path, 0, std::string("the file cannot be written: ") + std::strerror(errno));
    size_t off = 0;
    while (off < text.size()) {
        const ssize_t w = ::write(fd, text.data() + off, text.size() - off);
        if (w < 0) {
            if (errno == EINTR) continue;
            const int err = errno;
            ::close(fd);
            throw FatalError(path, 0, std::string("the file cannot be written: ") + std::strerror(err));
        }
        off += static_cast<size_t>(w);
    }
    if (::close(fd) != 0) throw FatalError(path, 0, std::string("the file cannot be written: ") + std::strerror(errno));
}

namespace {

// The first character of a UTF-8 text.
std::string firstCharacter(const std::string& s) {
    if (s.empty()) return "?";
    const auto b = static_cast<unsigned char>(s[0]);
    const size_t n = b >= 0xF0 ? 4 : b >= 0xE0 ? 3 : b >= 0xC0 ? 2 : 1;
    return s.substr(0, std::min(n, s.size()));
}

// The first character beyond ASCII in bytes [from, to) of the recorded page, decoded in it.
std::optional<std::string> firstNonAscii(const std::vector<uint8_t>& b, size_t from, size_t to,
                                         const codec::CodePage& page) {
    for (size_t k = from; k < to; ++k)
        if (b[k] >= 0x80) return firstCharacter(page.decode(b.data() + k, to - k));
    return std::nullopt;
}

// A block of lines (font, length, text, separator 0x0D or 0x0C), walked as far as it holds.
std::optional<std::string> firstNonAsciiInBlock(const std::vector<uint8_t>& b, const codec::CodePage& page) {
    size_t i = 0;
    while (i + 1 < b.size()) {
        const size_t from = i + 2;
        const size_t to = std::min(b.size(), from + b[i + 1]);
        if (auto ch = firstNonAscii(b, from, to, page)) return ch;
        if (to >= b.size() || b[to] != 0x0D) break;  // the last line, or a block cut short
        i = to + 1;
    }
    return std::nullopt;
}

// A multi barcode buffer: a flag byte, then up to 48 bytes of text ended by a zero byte.
std::optional<std::string> firstNonAsciiInBarcode(const std::vector<uint8_t>& b, const codec::CodePage& page) {
    if (b.size() < 2) return std::nullopt;
    size_t to = 1;
    while (to < b.size() && to <= 48 && b[to] != 0) ++to;
    return firstNonAscii(b, 1, to, page);
}

bool hasColumn(Database& db, const char* table, const char* column) {
    const TableDef* t = db.table(table);
    return t && t->columnIndex(column) >= 0;
}

}  // namespace

std::optional<TextNotHeld> firstTextNotHeld(Database& db, const codec::CodePage& recorded,
                                             const codec::CodePage& target) {
    // Texts the rows hold as UTF-8: the target page must hold every character.
    struct TextColumn {
        const char* table;
        const char* number;
        const char* column;
    };
    static const TextColumn kTexts[] = {
        {"KVR_20", "DP_No", "DP_Name"}, {"KVR_23", "MG_No", "MG_Name"},
        {"KVR_3F", "Number", "Data"},   {"KVR_41", "Number", "Name"},
    };
    for (const auto& c : kTexts) {
        if (!hasColumn(db, c.table, c.column)) continue;
        auto st = db.prepare(std::string("SELECT ") + quoteIdent(c.number) + ", " + quoteIdent(c.column) + " FROM " +
                             quoteIdent(c.table) + " ORDER BY rowid");
        while (st->step()) {
            const Value v = st->column(1);
            if (v.isNull() || v.isBytes()) continue;
            if (auto ch = target.firstNotHeld(v.toText())) return TextNotHeld{c.table, st->columnInt(0), c.column, *ch};
        }
    }

    // The PLU: its text columns as above, its byte columns must be ASCII.
    std::string sql = "SELECT PLU_No";
    std::vector<const codec::ColumnInfo<codec::PluRow>*> pluCols;
    for (const auto& c : codec::pluColumns()) {
        const bool bytesText = c.kind == codec::ColumnKind::Bytes && !iequals(c.name, "KVRBinData") &&
                               !iequals(c.name, "PLU_CPLUPreset");  // written as zeros, never read
        if ((c.kind != codec::ColumnKind::Text && !bytesText) || !hasColumn(db, "KVR_25", c.name)) continue;
        pluCols.push_back(&c);
        sql += ", " + quoteIdent(c.name);
    }
    sql += " FROM KVR_25 ORDER BY rowid";
    {
        auto st = db.prepare(sql);
        while (st->step()) {
            for (size_t i = 0; i < pluCols.size(); ++i) {
                const Value v = st->column(static_cast<int>(i + 1));
                if (v.isNull()) continue;
                const auto* c = pluCols[i];
                std::optional<std::string> ch;
                if (c->kind == codec::ColumnKind::Text) {
                    ch = target.firstNotHeld(v.toText());
                } else {
                    const std::vector<uint8_t> b = v.bytes();
                    const std::string_view name(c->name);
                    ch = name.find("MultiBar") != std::string_view::npos ? firstNonAsciiInBarcode(b, recorded)
                                                                          : firstNonAsciiInBlock(b, recorded);
                }
                if (ch) return TextNotHeld{"KVR_25", st->columnInt(0), c->name, *ch};
            }
        }
    }

    // The text files keep their blocks as the scales' bytes.
    for (const char* table : {"KVR_38", "KVR_39", "KVR_3A", "KVR_3B", "KVR_3C", "KVR_3D"}) {
        if (!hasColumn(db, table, "Name")) continue;
        auto st = db.prepare(std::string("SELECT No, Name FROM ") + quoteIdent(table) + " ORDER BY rowid");
        while (st->step()) {
            const Value v = st->column(1);
            if (v.isNull()) continue;
            if (auto ch = firstNonAsciiInBlock(v.bytes(), recorded))
                return TextNotHeld{table, st->columnInt(0), "Name", *ch};
        }
    }
    return std::nullopt;
}

}  // namespace brindale::store
