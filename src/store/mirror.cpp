#include "mirror.h"

#include <fcntl.h>
#include <stdio.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <chrono>
#include <cctype>
#include <cstring>
#include <filesystem>
#include <map>
#include <optional>
#include <thread>
#include <fstream>

#include "codec/plu_record.h"
#include "codec/small_records.h"
#include "store/batch_pipeline.h"
#include "store/codec_sources.h"
#include "store/fatal_error.h"
#include "store/mirror_code_page.h"
#include "store/rebuild.h"
#include "store/recordset.h"
#include "store/row_mapper.h"
#include "store/small_record_builder.h"

namespace fs = std::filesystem;

namespace brindale::store {

namespace {

constexpr const char* kFolder = "AccessData";
constexpr const char* kStaging = "AccessData.new";
constexpr const char* kRetired = "AccessData.old";

std::vector<MirrorTextColumn> cols(std::initializer_list<MirrorTextColumn> c) { return c; }

std::vector<MirrorTextColumn> textFileColumns() {
    return cols({{"No", false}, {"NameFirstLine", true}});
}

}  // namespace

const std::vector<MirrorTextFile>& mirrorTextFiles() {
    static const std::vector<MirrorTextFile> files = [] {
        std::vector<MirrorTextFile> f;
        f.push_back({"tempstore.txt", "STORE",
                     cols({{"ST_No", false}, {"ST_Name", true}, {"Flag1", false}, {"Flag2", false}, {"BarFlag", false},
                           {"barformat", false}, {"BarType", false}, {"LabFormat", false}}),
                     false});
        f.push_back({"tempsect.txt", "SECT",
                     cols({{"SECT_No", false}, {"ST_No", false}, {"SECT_Name", true}, {"Flag1", false}, {"Flag2", false},
                           {"BarFlag", false}, {"barformat", false}, {"BarType", false}, {"LabFormat", false}}),
                     false});
        f.push_back({"tempscale.txt", "SCALE",
                     cols({{"SC_IP", false}, {"SC_No", false}, {"SC_Used", false}, {"SC_Dest", false},
                           {"SC_MODEL_ID", false}, {"SC_PSK_Layout", false}, {"ST_No", false}, {"SECT_No", false}}),
                     false});
        f.push_back({"tempdept.txt", "KVR_20",
                     cols({{"DP_No", false}, {"DP_Name", true}, {"Flag1", false}, {"Flag2", false}, {"BarFlag", false},
                           {"barformat", false}, {"BarType", false}, {"LabFormat", false}, {"ST_No", false},
                           {"SECT_No", false}}),
                     false});
        f.push_back({"tempmg.txt", "KVR_23",
                     cols({{"MG_No", false}, {"MG_Name", true}, {"Flag1", false}, {"Flag2", false}, {"BarFlag", false},
                           {"barformat", false}, {"BarType", false}, {"LabFormat", false}, {"ST_No", false},
                           {"SECT_No", false}, {"DP_No", false}}),
                     false});
        f.push_back({"tempflexibarcode.txt", "KVR_14",
                     cols({{"FBar_No", false}, {"FBar_Type", false}, {"FBar_ItemDigitNo", false},
                           {"FBar_Data1Type", false}, {"FBar_Data2Type", false}, {"FBar_FBarDigitNo", false},
                           {"FBar_CD", false}, {"FBar_Data1", false}, {"FBar_Data2", false}, {"FBar_Data1SH", false},
                           {"FBar_Data2SH", false}, {"FBar_EANorITF", false}}),
                     false});
        f.push_back({"tempplu.txt", "KVR_25", cols({{"PLU_No", false}, {"ST_No", false}, {"SECT_No", false}}), false});
        f.push_back({"tempsearch.txt", "SEARCH",
                     cols({{"SH_No", false}, {"SH_Name", true}, {"DP_No1", false}, {"DP_No2", false}, {"MG_No1", false},
                           {"MG_No2", false}, {"PLU_No1", false}, {"PLU_No2", false}, {"PLU_UPrice1", false},
                           {"PLU_UPrice2", false}, {"ST_No", false}}),
                     false});
        f.push_back({"temppresetkey.txt", "KVR_41",
                     cols({{"Scale_IP", false}, {"PSK_Layout", false}, {"Number", false}, {"Key_Switch", false},
                           {"Status", false}, {"Csize", false}, {"Name", true}, {"Refer_To_File", false}}),
                     false});
        f.push_back({"tempformat.txt", "KVR_34", cols({{"PF_No", false}}), false});
        f.push_back({"tempscrollmsg.txt", "KVR_3F", cols({{"Number", false}, {"Data", true}}), true});
        {
            std::vector<MirrorTextColumn> c = {{"Number", false}};
            static const char* const names[] = {"Group1", "File1", "Scroll1", "Display1", "Speed1",
                                                "Group2", "File2", "Scroll2", "Display2", "Speed2",
                                                "Group3", "File3", "Scroll3", "Display3", "Speed3"};
            for (const char* n : names) c.push_back({n, false});
            f.push_back({"tempscrollseq.txt", "KVR_40", c, false});
        }
        f.push_back({"temptextfile.txt", "KVR_38", textFileColumns(), true});
        f.push_back({"tempplacefile.txt", "KVR_39", textFileColumns(), true});
        f.push_back({"tempingfile.txt", "KVR_3A", textFileColumns(), true});
        f.push_back({"tempsmsgfile.txt", "KVR_3B", textFileColumns(), true});
        f.push_back({"tempadvfile.txt", "KVR_3C", textFileColumns(), true});
        f.push_back({"tempsnamefile.txt", "KVR_3D", textFileColumns(), true});
        f.push_back({"temprptformatfile.txt", "KVR_AA",
                     cols({{"Code", false}, {"Type", false}, {"StartNo", false}, {"EndNo", false},
                           {"ConditionNo", false}, {"Status", false}}),
                     false});
        {
            std::vector<MirrorTextColumn> c = {{"Code", false}};
            static const char* const names[] = {"Sequence1", "Sequence2", "Sequence3", "Sequence4", "Sequence5",
                                                "Sequence6", "Sequence7", "Sequence8", "Sequence9", "Sequence10",
                                                "Resetreport", "Status"};
            for (const char* n : names) c.push_back({n, false});
            f.push_back({"temprptformatseqfile.txt", "KVR_AB", c, false});
        }
        f.push_back({"tempcontainertablefile.txt", "KVR_DF", cols({{"CNumber", false}, {"PLU_No", false}}), false});
        return f;
    }();
    return files;
}

const std::vector<MirrorRecordFile>& mirrorRecordFiles() {
    static const std::vector<MirrorRecordFile> files = {
        {"tempdeptkvr.txt", "KVR_20", 23, RecordExtra::None},
        {"tempmgkvr.txt", "KVR_23", 25, RecordExtra::None},
        {"tempflexibarcodekvr.txt", "KVR_14", 16, RecordExtra::None},
        {"tempplukvr.txt", "KVR_25", 0, RecordExtra::Plu},
        // The name is kept as the mirror has always spelt it.
        {"temppesetkeykvr.txt", "KVR_41", 45, RecordExtra::None},
        {"tempformatkvr.txt", "KVR_34", 0, RecordExtra::None},
        {"temptextfilekvr.txt", "KVR_38", 0, RecordExtra::TextName},
        {"tempplacefilekvr.txt", "KVR_39", 0, RecordExtra::TextName},
        {"tempingfilekvr.txt", "KVR_3A", 0, RecordExtra::TextName},
        {"tempsmsgfilekvr.txt", "KVR_3B", 0, RecordExtra::TextName},
        {"tempadvfilekvr.txt", "KVR_3C", 0, RecordExtra::TextName},
        {"tempsnamefilekvr.txt", "KVR_3D", 0, RecordExtra::TextName},
        {"temprptformatfilekvr.txt", "KVR_AA", 0, RecordExtra::ReportData},
        {"temprptformatseqfilekvr.txt", "KVR_AB", 68, RecordExtra::None},
        {"tempcontainertablefilekvr.txt", "KVR_DF", 10, RecordExtra::None},
    };
    return files;
}

const MirrorTextFile& transferLogMirrorFile() {
    static const MirrorTextFile file{
        "temptransferlog.txt", "TRANSFER_LOG",
        cols({{"TL_Start", false}, {"TL_Duration", false}, {"TL_Mode", false}, {"TL_Tables", false},
              {"TL_Store", false}, {"TL_Section", false}, {"TL_ScaleName", false}, {"TL_ScaleAddress", false},
              {"TL_State", false}, {"TL_Reason", false}, {"TL_Detail", false}, {"TL_Done", false},
              {"TL_ToDo", false}, {"TL_Notes", false}}),
        false};
    return file;
}

std::string printValue(const Value& v) {
    if (v.isNull()) return "Null";
    if (v.isInt()) {
        int64_t n = v.toInt();
        return (n < 0 ? "" : " ") + std::to_string(n) + " ";
    }
    if (v.isReal()) {
        std::string t = v.toText();
        return (v.toReal() < 0 ? "" : " ") + t + " ";
    }
    return v.toText();
}

bool isNumericLine(const std::string& line) {
    size_t i = 0, n = line.size();
    while (i < n && std::isspace(static_cast<unsigned char>(line[i]))) ++i;
    while (n > i && std::isspace(static_cast<unsigned char>(line[n - 1]))) --n;
    if (i == n) return false;
    if (line[i] == '+' || line[i] == '-') ++i;
    bool digits = false, dot = false;
    for (; i < n; ++i) {
        char c = line[i];
        if (std::isdigit(static_cast<unsigned char>(c))) digits = true;
        else if (c == '.' && !dot) dot = true;
        else break;
    }
    if (!digits) return false;
    if (i < n && (line[i] == 'e' || line[i] == 'E')) {
        ++i;
        if (i < n && (line[i] == '+' || line[i] == '-')) ++i;
        bool exp = false;
        while (i < n && std::isdigit(static_cast<unsigned char>(line[i]))) { ++i; exp = true; }
        if (!exp) return false;
    }
    return i == n;
}

namespace {

// ---------- files ----------

std::string readWhole(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    if (!in) throw FatalError(path, 0, "the file cannot be read");
    in.seekg(0, std::ios::end);
    std::string s(static_cast<size_t>(in.tellg()), '\0');
    in.seekg(0);
    in.read(s.data(), static_cast<std::streamsize>(s.size()));
    return s;
}

// Lines as the print statement ends them (CR LF); a bare LF ends a line too.
std::vector<std::string_view> splitLines(const std::string& text) {
    std::vector<std::string_view> lines;
    size_t pos = 0;
    while (pos < text.size()) {
        size_t nl = text.find('\n', pos);
        size_t end = nl == std::string::npos ? text.size() : nl;
        size_t stop = (end > pos && text[end - 1] == '\r') ? end - 1 : end;
        lines.emplace_back(text.data() + pos, stop - pos);
        pos = nl == std::string::npos ? text.size() : nl + 1;
    }
    return lines;
}

// A file written whole and flushed to the disk before it is closed.
class DurableFile {
public:
    explicit DurableFile(const std::string& path) : path_(path) {
        fd_ = ::open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0644);
        if (fd_ < 0) throw FatalError(path, 0, std::string("the file cannot be written: ") + std::strerror(errno));
        buf_.reserve(1 << 20);
    }
    ~DurableFile() {
        if (fd_ >= 0) ::close(fd_);
    }
    void write(const void* p, size_t n) {
        buf_.append(static_cast<const char*>(p), n);
        if (buf_.size() >= (1 << 20)) flushBuffer();
    }
    void write(std::string_view s) { write(s.data(), s.size()); }
    void line(std::string_view s) {
        write(s);
        write("\r\n", 2);
    }
    // The data reach the disk with one syncfs() for the whole set (syncFolder), before the set is
    // put in place.
    void close() {
        flushBuffer();
        if (::close(fd_) != 0) { fd_ = -1; fail(); }
        fd_ = -1;
    }

private:
    void flushBuffer() {
        size_t off = 0;
        while (off < buf_.size()) {
            ssize_t w = ::write(fd_, buf_.data() + off, buf_.size() - off);
            if (w < 0) {
                if (errno == EINTR) continue;
                fail();
            }
            off += static_cast<size_t>(w);
        }
        buf_.clear();
    }
    [[noreturn]] void fail() { throw FatalError(path_, 0, std::string("the file cannot be written: ") + std::strerror(errno)); }
    std::string path_;
    int fd_ = -1;
    std::string buf_;
};

void syncFolder(const std::string& path) {
    int fd = ::open(path.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (fd >= 0) {
        ::fsync(fd);
        ::close(fd);
    }
}

// Every file written so far, on the file system of `path`, reaches the disk.
void syncFileSystem(const std::string& path) {
    int fd = ::open(path.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (fd < 0) throw FatalError(path, 0, std::string("the folder cannot be opened: ") + std::strerror(errno));
    const int rc = ::syncfs(fd);
    const int err = errno;
    ::close(fd);
    if (rc != 0) throw FatalError(path, 0, std::string("the files cannot be flushed to the disk: ") + std::strerror(err));
}

long countRows(Database& db, const char* table) {
    auto st = db.prepare("SELECT count(*) FROM " + quoteIdent(table));
    st->step();
    return static_cast<long>(st->columnInt(0));
}

struct Progress {
    const MirrorOptions& o;
    long total = 0;
    long done = 0;
    long point = 0;
    void step(long n = 1) {
        done += n;
        if (o.progress) o.progress(done, total);
    }
    void checkpoint() {
        if (o.checkpoint) o.checkpoint(point);
        ++point;
    }
};

const codec::CodePage& codePageOf(const MirrorOptions& o, const char* what) {
    if (!o.env || !o.env->codePage) throw FatalError(what, 0, "no code page for the scale records");
    return *o.env->codePage;
}

// ---------- export ----------

void exportTextFile(Database& db, const std::string& folder, const MirrorTextFile& f, Progress& p) {
    const TableDef* t = db.table(f.table);
    if (!t) db.fail(std::string("there is no table ") + f.table);
    std::string sql = "SELECT ";
    for (size_t i = 0; i < f.columns.size(); ++i) {
        if (t->columnIndex(f.columns[i].name) < 0)
            db.fail(std::string("the table ") + f.table + " has no column " + f.columns[i].name);
        sql += (i ? ", " : "") + quoteIdent(f.columns[i].name);
    }
    sql += " FROM " + quoteIdent(t->name) + " ORDER BY rowid";
    DurableFile out(folder + "/" + f.file);
    auto st = db.prepare(sql);
    while (st->step()) {
        for (size_t i = 0; i < f.columns.size(); ++i) out.line(printValue(st->column(static_cast<int>(i))));
        if (f.marker) out.line(" 111 ");
        p.step();
        p.checkpoint();
    }
    out.close();
    p.checkpoint();
}

void exportTextFiles(Database& db, const std::string& folder, Progress& p) {
    for (const auto& f : mirrorTextFiles()) exportTextFile(db, folder, f, p);
}

// Rows of the transfer history, or 0 when the working database has no such table.
long transferLogRows(Database& db) {
    return db.table(transferLogMirrorFile().table) ? countRows(db, transferLogMirrorFile().table) : 0;
}

// A row of a table whose records the program cannot build here (label formats, preset keys,
// text files...) and that has no valid record: a record file without it would shift every later
// record onto the wrong row, so this empty record of the table's shape keeps the pairing, and the
// start reads it back as no record.
std::vector<uint8_t> placeholderRecord(const MirrorRecordFile& f) {
    if (f.fixedLength > 0) return std::vector<uint8_t>(static_cast<size_t>(f.fixedLength), 0);
    std::vector<uint8_t> r(f.extra == RecordExtra::ReportData ? 35 : (f.extra == RecordExtra::TextName ? 8 : 6), 0);
    r[4] = static_cast<uint8_t>(r.size() >> 8);
    r[5] = static_cast<uint8_t>(r.size() & 0xFF);
    return r;
}

bool recordFits(const MirrorRecordFile& f, const std::vector<uint8_t>& r) {
    if (f.fixedLength > 0) return r.size() == static_cast<size_t>(f.fixedLength);
    return r.size() >= 6 && static_cast<size_t>(r[4] << 8 | r[5]) == r.size();
}

std::string pluName(const codec::PluRow& row) {
    return "PLU " + std::to_string(row.PLU_No) + " of store " + std::to_string(row.ST_No);
}

// Every PLU is packed anew. One that cannot be keeps its last good record; one without such a
// record is written as a placeholder only so that the file can be finished and every such PLU
// named: the caller then stops the end (pluProblemsStopTheEnd).
void exportPluRecords(Database& db, const MirrorRecordFile& f, DurableFile& out, const MirrorOptions& o,
                      Progress& p, MirrorReport& report) {
    if (!o.env) throw FatalError(f.file, 0, "no codec settings for the PLU records");
    RowMapper<codec::PluRow> map(db, f.table, codec::pluColumns());
    // Rows are read and written a batch at a time while the batch between is packed on a second
    // thread, with the lookups read once so that it asks no statement.
    CodecSourcesSnapshot sources(db);
    codec::CodecEnvironment env = *o.env;
    env.inheritance = &sources;
    env.flexiBarcodes = &sources;
    ThreadCodecEnvironment encoderEnv(env);
    codec::EncoderContext ctx(encoderEnv.env());
    ctx.remembered.clearKey();
    struct Batch {
        std::vector<codec::PluRow> rows;
        std::vector<codec::Bytes> before;                  // the record each row had
        std::vector<std::optional<codec::Status>> failed;  // set where the encoder refused the row
        size_t size = 0;
    };
    constexpr size_t kBatch = 256;
    auto st = db.prepare(map.selectSql());
    bool more = true;  // a finished statement is never stepped again: it would start over
    auto fill = [&](Batch& b) -> bool {
        b.size = 0;
        while (b.size < kBatch && more && (more = st->step())) {
            if (b.rows.size() <= b.size) {
                b.rows.emplace_back();
                b.before.emplace_back();
                b.failed.emplace_back();
            }
            map.read(*st, b.rows[b.size]);
            ++b.size;
        }
        return b.size > 0;
    };
    auto pack = [&](Batch& b) {
        for (size_t i = 0; i < b.size; ++i) {
            b.before[i] = b.rows[i].KVRBinData;
            codec::Status s = codec::encodePluRecord(ctx, b.rows[i], false);
            if (s.ok())
                b.failed[i].reset();
            else
                b.failed[i] = std::move(s);
        }
    };
    auto write = [&](Batch& b) {
        for (size_t i = 0; i < b.size; ++i) {
            codec::PluRow& row = b.rows[i];
            const codec::Bytes& before = b.before[i];
            if (b.failed[i] || !row.KVRBinData || !recordFits(f, *row.KVRBinData)) {
                PluPackProblem problem;
                problem.PLU_No = row.PLU_No;
                problem.ST_No = row.ST_No;
                if (!b.failed[i]) {
                    problem.error.fault = codec::Fault::RecordTooShort;
                    problem.error.column = "KVRBinData";
                    problem.reason = "the record has no valid length";
                } else {
                    problem.error = b.failed[i]->error();
                    problem.reason = b.failed[i]->message();
                }
                problem.column = problem.error.column;
                problem.hasLastGoodRecord = before && recordFits(f, *before);
                if (problem.hasLastGoodRecord) {
                    // Asked about through confirmKeptRecords, they are the caller's to show.
                    if (!o.confirmKeptRecords)
                        report.warnings.push_back(pluName(row) + ": " + problem.reason + "; its last record was kept");
                    row.KVRBinData = before;
                } else {
                    row.KVRBinData = placeholderRecord(f);
                }
                report.problems.push_back(std::move(problem));
            }
            out.write(row.KVRBinData->data(), row.KVRBinData->size());
            p.step();
            p.checkpoint();
        }
    };
    pipelineBatches<Batch>(fill, pack, write);
}

// A PLU that could not be packed and has no last good record cannot be written without loss.
void pluProblemsStopTheEnd(const MirrorReport& report) {
    std::vector<PluPackProblem> all;
    for (const auto& pr : report.problems)
        if (!pr.hasLastGoodRecord) all.push_back(pr);
    if (all.empty()) return;
    const PluPackProblem first = all.front();
    for (const auto& pr : report.problems)
        if (pr.hasLastGoodRecord) all.push_back(pr);
    std::string reason = first.reason + "; the PLU has no earlier record to keep, so it cannot be saved without loss";
    const size_t more = std::count_if(all.begin(), all.end(), [](const PluPackProblem& x) { return !x.hasLastGoodRecord; }) - 1;
    if (more) reason += " (and " + std::to_string(more) + " more such PLUs)";
    throw MirrorError("KVR_25", "PLU " + std::to_string(first.PLU_No) + " of store " + std::to_string(first.ST_No),
                      first.column, reason, std::move(all));
}

// ---------- label formats ----------

// The number in bytes 0 to 3 of a label format record (packed digits), or -1.
int packedFormatNumber(const std::vector<uint8_t>& r) {
    if (r.size() < 4) return -1;
    int n = 0;
    for (size_t i = 0; i < 4; ++i)
        for (int shift : {4, 0}) {
            const int d = (r[i] >> shift) & 0x0F;
            if (d > 9) return -1;
            n = n * 10 + d;
        }
    return n;
}

// Why a scale would refuse this label format record, or "" when it is one it takes.
std::string labelFormatDamage(const Value& v) {
    if (v.isText()) return "it holds text, not a record";
    const std::vector<uint8_t>& r = v.bytes();
    const size_t n = r.size();
    if (n != 1118 && n != 1400 && n != 1664)
        return "its record is " + std::to_string(n) + " bytes long, none of 1118, 1400 and 1664";
    if (static_cast<size_t>(r[4] << 8 | r[5]) != n)
        return "its record of " + std::to_string(n) + " bytes gives " + std::to_string(r[4] << 8 | r[5]) +
               " as its length";
    const int number = packedFormatNumber(r);
    if (number < 1 || number > 99) return "its bytes 0 to 3 are no packed number 1 to 99";
    return "";
}

// The good records of the mirror the end replaces, by format number: a damaged row keeps the
// record it had there rather than losing the format. Read before the new file is opened, which
// may be the same file.
std::map<int, std::vector<uint8_t>> lastGoodLabelFormats(const std::string& path) {
    std::map<int, std::vector<uint8_t>> kept;
    std::error_code ec;
    if (path.empty() || !fs::exists(path, ec)) return kept;
    const std::string data = readWhole(path);
    size_t pos = 0;
    while (pos + 6 <= data.size()) {
        const size_t len = static_cast<uint8_t>(data[pos + 4]) << 8 | static_cast<uint8_t>(data[pos + 5]);
        if (len < 6 || pos + len > data.size()) break;  // the rest cannot be framed
        Value v(std::vector<uint8_t>(data.begin() + static_cast<std::ptrdiff_t>(pos),
                                     data.begin() + static_cast<std::ptrdiff_t>(pos + len)));
        if (labelFormatDamage(v).empty()) kept[packedFormatNumber(v.bytes())] = v.bytes();
        pos += len;
    }
    return kept;
}

// Label formats are never blanked by the end: a row whose record a scale would refuse writes the
// last good record the mirror held for its number, and the operator is told which format and why;
// without one it writes its own record if that can at least be framed.
void exportLabelFormatRecords(Database& db, const MirrorRecordFile& f, DurableFile& out,
                              const std::map<int, std::vector<uint8_t>>& lastGood, Progress& p,
                              MirrorReport& report) {
    const TableDef* t = db.table(f.table);
    auto st = db.prepare("SELECT PF_No, KVRBinData FROM " + quoteIdent(t->name) + " ORDER BY rowid");
    while (st->step()) {
        const Value no = st->column(0);
        const Value v = st->column(1);
        std::vector<uint8_t> rec = v.bytes();
        const std::string damage = v.isNull() ? std::string() : labelFormatDamage(v);
        if (!damage.empty()) {
            const std::string name = "Label format " + no.toText();
            const std::string text = no.toText();
            long number = -1;
            if (!text.empty() && std::all_of(text.begin(), text.end(), [](unsigned char c) { return std::isdigit(c) || c == ' '; }))
                number = std::strtol(text.c_str(), nullptr, 10);
            const auto good = lastGood.find(static_cast<int>(number));
            if (good != lastGood.end()) {
                rec = good->second;
                report.warnings.push_back(name + ": " + damage + "; its last good record of " +
                                          std::to_string(rec.size()) + " bytes was kept");
            } else if (recordFits(f, rec)) {
                // Nothing earlier to fall back on: it goes as it stands, which the editor lists
                // on opening for the operator to open and save.
            } else {
                report.warnings.push_back(name + ": " + damage +
                                          "; there is no earlier record to keep, so the format has no record");
                rec = placeholderRecord(f);
            }
        } else if (!recordFits(f, rec)) {
            rec = placeholderRecord(f);  // no record is kept as none
        }
        out.write(rec.data(), rec.size());
        p.step();
        p.checkpoint();
    }
}

// Departments, main groups and flexi barcodes: the next start decodes their records over the
// rows, so each row gets a record that gives it back its own number and name, or the end stops.
template <class Row>
void exportSmallRecords(Database& db, const MirrorRecordFile& f, DurableFile& out, const MirrorOptions& o,
                        std::span<const codec::ColumnInfo<Row>> columns, const char* keyColumn, Progress& p) {
    const codec::CodePage& cp = codePageOf(o, f.file);
    RowMapper<Row> map(db, f.table, columns);
    auto st = db.prepare(map.selectSql());
    Row row;
    long n = 0;
    while (st->step()) {
        ++n;
        map.read(*st, row);
        const MirrorSmallRecord chosen = mirrorSmallRecord(cp, row);
        const auto* key = codec::findColumn<Row>(columns, keyColumn);
        const std::string name =
            "row " + std::to_string(n) + " (" + keyColumn + " " + std::to_string(row.*(key->number)) + ")";
        if (chosen.source == MirrorSmallRecord::Source::None)
            throw MirrorError(f.table, name, chosen.problem.column,
                              chosen.problem.message() + "; the row has no record to keep, so it cannot be saved without loss");
        out.write(chosen.record.data(), chosen.record.size());
        p.step();
        p.checkpoint();
    }
}

// previous: the folder of the mirror this end replaces ("" for none).
void exportRecordFiles(Database& db, const std::string& folder, const std::string& previous, const MirrorOptions& o,
                       Progress& p, MirrorReport& report) {
    for (const auto& f : mirrorRecordFiles()) {
        const TableDef* t = db.table(f.table);
        if (!t) db.fail(std::string("there is no table ") + f.table);
        const bool labelFormats = std::string_view(f.table) == "KVR_34";
        const auto lastGood =
            labelFormats && !previous.empty() ? lastGoodLabelFormats(previous + "/" + f.file) : std::map<int, std::vector<uint8_t>>{};
        DurableFile out(folder + "/" + f.file);
        const auto small = codec::smallTableFromName(f.table);
        if (labelFormats) {
            exportLabelFormatRecords(db, f, out, lastGood, p, report);
        } else if (f.extra == RecordExtra::Plu) {
            exportPluRecords(db, f, out, o, p, report);
        } else if (small == codec::SmallTable::Dept) {
            exportSmallRecords<codec::DeptRow>(db, f, out, o, codec::deptColumns(), "DP_No", p);
        } else if (small == codec::SmallTable::MainGroup) {
            exportSmallRecords<codec::MainGroupRow>(db, f, out, o, codec::mainGroupColumns(), "MG_No", p);
        } else if (small == codec::SmallTable::FlexiBarcode) {
            exportSmallRecords<codec::FlexiBarcodeRow>(db, f, out, o, codec::flexiBarcodeColumns(), "FBar_No", p);
        } else {
            auto st = db.prepare("SELECT KVRBinData FROM " + quoteIdent(t->name) + " ORDER BY rowid");
            long n = 0;
            while (st->step()) {
                ++n;
                Value v = st->column(0);
                std::vector<uint8_t> rec = v.bytes();
                if (!recordFits(f, rec)) {
                    // No record is kept as none; a damaged one cannot be kept at all.
                    if (!v.isNull())
                        report.warnings.push_back(std::string(f.table) + " row " + std::to_string(n) + ": its record of " +
                                                  std::to_string(rec.size()) +
                                                  " bytes has no valid length and was dropped");
                    rec = placeholderRecord(f);
                }
                out.write(rec.data(), rec.size());
                p.step();
                p.checkpoint();
            }
        }
        out.close();
        p.checkpoint();
        if (f.extra == RecordExtra::Plu) pluProblemsStopTheEnd(report);
    }
}

// ---------- import ----------

// The keys of the PLU rows as the text file gives them, for the start that inserts each PLU
// row once, whole, with its record unpacked.
struct PluKeys {
    std::vector<std::array<int64_t, 3>> rows;
};

void importTextFile(Database& db, const std::string& folder, const MirrorTextFile& f, Progress& p, PluKeys& pluKeys) {
    const std::string path = folder + "/" + f.file;
    std::error_code ec;
    if (!fs::exists(path, ec)) return;  // a missing file leaves the table empty
    const TableDef* t = db.table(f.table);
    if (!t) db.fail(std::string("there is no table ") + f.table);
    std::vector<ColumnDef> defs;
    std::string sql = "INSERT INTO " + quoteIdent(t->name) + " (", vals;
    for (size_t i = 0; i < f.columns.size(); ++i) {
        int idx = t->columnIndex(f.columns[i].name);
        if (idx < 0) db.fail(std::string("the table ") + f.table + " has no column " + f.columns[i].name);
        defs.push_back(t->columns[static_cast<size_t>(idx)]);
        sql += (i ? "," : "") + quoteIdent(defs.back().name);
        vals += (i ? ",?" : "?") + std::to_string(i + 1);
    }
    sql += ") VALUES (" + vals + ")";
    const std::string text = readWhole(path);
    const auto lines = splitLines(text);
    const bool keysOnly = iequals(f.table, "KVR_25");
    auto& st = db.cached(sql);
    size_t cur = 0;
    long row = 0;
    while (cur < lines.size()) {
        ++row;
        std::array<int64_t, 3> keys{};
        for (size_t i = 0; i < f.columns.size(); ++i) {
            if (cur >= lines.size())
                throw FatalError(path, static_cast<long>(cur + 1),
                                 "the file ends inside row " + std::to_string(row) + " (column " + defs[i].name + ")");
            const long lineNo = static_cast<long>(cur + 1);
            std::string value(lines[cur++]);
            if (f.columns[i].untilNumber) {
                // The lines of a value are joined without a break; the first numeric line ends it.
                while (cur < lines.size() && !isNumericLine(std::string(lines[cur]))) value += lines[cur++];
                if (f.marker && i + 1 == f.columns.size()) {
                    if (cur >= lines.size())
                        throw FatalError(path, static_cast<long>(cur + 1),
                                         "the file ends before the marker line of row " + std::to_string(row));
                    ++cur;  // the marker line
                }
            }
            Value v;
            try {
                v = coerceValue(defs[i], Value(std::move(value)), f.table);
            } catch (const FatalError& e) {
                throw FatalError(path, lineNo, "row " + std::to_string(row) + ", " + e.reason());
            }
            if (keysOnly) keys[i] = v.isNull() ? codec::kNullNumber : v.toInt();
            else st.bind(static_cast<int>(i + 1), v);
        }
        if (keysOnly) {
            pluKeys.rows.push_back(keys);
        } else {
            st.step();
            st.reset();
        }
        p.step();
    }
}

void setRecord(Database& db, const std::string& table, int64_t rowid, const std::vector<uint8_t>& rec,
               RecordExtra extra) {
    if (extra == RecordExtra::TextName) {
        auto& st = db.cached("UPDATE " + quoteIdent(table) + " SET KVRBinData=?1, Name=?2 WHERE rowid=?3");
        st.bind(1, Value(rec));
        if (rec.size() == 8) st.bind(2, Value());
        else st.bind(2, Value(std::vector<uint8_t>(rec.begin() + std::min<size_t>(8, rec.size()), rec.end())));
        st.bind(3, Value(rowid));
        st.step();
        st.reset();
    } else if (extra == RecordExtra::ReportData) {
        auto& st = db.cached("UPDATE " + quoteIdent(table) + " SET KVRBinData=?1, Data=?2 WHERE rowid=?3");
        st.bind(1, Value(rec));
        if (rec.size() == 35) st.bind(2, Value());
        else st.bind(2, Value(std::vector<uint8_t>(rec.begin() + std::min<size_t>(32, rec.size()), rec.end())));
        st.bind(3, Value(rowid));
        st.step();
        st.reset();
    } else {
        auto& st = db.cached("UPDATE " + quoteIdent(table) + " SET KVRBinData=?1 WHERE rowid=?2");
        st.bind(1, Value(rec));
        st.bind(2, Value(rowid));
        st.step();
        st.reset();
    }
}

std::vector<int64_t> rowIds(Database& db, const std::string& table) {
    std::vector<int64_t> ids;
    auto st = db.prepare("SELECT rowid FROM " + quoteIdent(table) + " ORDER BY rowid");
    while (st->step()) ids.push_back(st->columnInt(0));
    return ids;
}

// The length of record `n` of a record file whose records carry their length in bytes 4 and 5;
// a file that ends before the record, or a length that leaves the file, is a FatalError.
size_t recordLength(const std::string& path, const std::string& data, size_t pos, long n, size_t rows,
                    const char* what) {
    if (pos + 6 > data.size())
        throw FatalError(path, 0, "record " + std::to_string(n) + " is missing: the file holds records for " +
                                      std::to_string(n - 1) + " of " + std::to_string(rows) + " " + what);
    const size_t len = static_cast<size_t>(static_cast<uint8_t>(data[pos + 4])) << 8 |
                       static_cast<uint8_t>(data[pos + 5]);
    if (len < 6 || pos + len > data.size())
        throw FatalError(path, 0, "record " + std::to_string(n) + " at byte " + std::to_string(pos) +
                                      " gives the length " + std::to_string(len) + ", beyond the file");
    return len;
}

// A database file beside the working one with an empty copy of one table: a second thread fills
// the copy through a connection of its own while the first thread fills the table itself, and the
// copy's rows are then appended as they are, without being built again. SQLite writes one table on
// one thread only; this puts the second core to the same work. The working connection attaches the
// file only when the second thread is done with it: attached earlier, a lock it holds on the file
// would keep the second connection from spilling its cache, and both would wait for ever.
class SideFill {
public:
    SideFill(Database& db, const std::string& table) : db_(db), table_(table), path_(db.path() + "-fill") {
        std::error_code ec;
        fs::remove(path_, ec);  // left by a start that did not finish
        auto st = db.prepare("SELECT sql FROM main.sqlite_master WHERE type='table' AND name=?1");
        st->bind(1, Value(table));
        if (!st->step()) db.fail("there is no table " + table);
        const std::string sql = st->column(0).toText();
        const auto paren = sql.find('(');
        if (paren == std::string::npos) db.fail("the table " + table + " has no columns");
        // An empty file is an empty database; the connection itself may only open what exists.
        if (!std::ofstream(path_, std::ios::binary)) db.fail("the file " + path_ + " cannot be made");
        side_ = Database::open(path_);
        if (!side_) db.fail("the database " + path_ + " cannot be opened");
        side_->exec("PRAGMA page_size=" + std::to_string(kPageSize));
        side_->exec("PRAGMA journal_mode=OFF");
        side_->exec("PRAGMA synchronous=OFF");
        side_->exec("CREATE TABLE " + quoteIdent(table) + " " + sql.substr(paren));
    }
    SideFill(const SideFill&) = delete;
    SideFill& operator=(const SideFill&) = delete;
    ~SideFill() {
        try {
            finish();
        } catch (...) {
        }
    }
    Database& side() { return *side_; }
    // Within the filling transaction, after the second thread has let go of its connection.
    void append() {
        side_.reset();
        auto attach = db_.prepare("ATTACH DATABASE ?1 AS fill");
        attach->bind(1, Value(path_));
        attach->step();
        attached_ = true;
        db_.exec("INSERT INTO main." + quoteIdent(table_) + " SELECT * FROM fill." + quoteIdent(table_));
    }
    // Outside the transaction again.
    void finish() {
        side_.reset();
        if (attached_) {
            attached_ = false;
            db_.exec("DETACH DATABASE fill");
        }
        std::error_code ec;
        fs::remove(path_, ec);
    }

private:
    Database& db_;
    std::string table_;
    std::string path_;
    bool attached_ = false;
    std::unique_ptr<Database> side_;
};

// The start's way with the PLUs: each row is made once, from its keys and its unpacked record, a
// batch at a time: the records of one batch are unpacked on a second thread while the rows of the
// batch before go into the table. With a side table the later half of the rows is unpacked and
// written meanwhile on a third thread into the side table, and appended at the end.
void insertPluRows(Database& db, const std::string& folder, const PluKeys& keys, const MirrorOptions& o, Progress& p,
                   SideFill* sideFill) {
    if (!o.env) throw FatalError("tempplukvr.txt", 0, "no codec settings for the PLU records");
    const std::string path = folder + "/tempplukvr.txt";
    std::error_code ec;
    std::string data;
    if (fs::exists(path, ec)) data = readWhole(path);
    RowMapper<codec::PluRow> map(db, "KVR_25", codec::pluColumns());
    // The lookups read once, so the other threads ask no statement.
    CodecSourcesSnapshot sources(db);
    codec::CodecEnvironment env = *o.env;
    env.inheritance = &sources;
    env.flexiBarcodes = &sources;
    const codec::PluRow fresh = map.freshRow();
    const size_t rows = keys.rows.size();
    // Where each record lies in the file, found in order so that a fault names the first bad one.
    std::vector<size_t> at(data.empty() ? 0 : rows), length(data.empty() ? 0 : rows);
    for (size_t i = 0, pos = 0; i < at.size(); ++i) {
        length[i] = recordLength(path, data, pos, static_cast<long>(i + 1), rows, "PLUs");
        at[i] = pos;
        pos += length[i];
    }
    auto unpackRow = [&](const codec::CodecEnvironment& e, size_t n, codec::PluRow& row) {
        const auto& k = keys.rows[n];
        row = fresh;
        row.PLU_No = k[0];
        row.ST_No = k[1];
        row.SECT_No = k[2];
        if (data.empty()) return;
        const auto* r = reinterpret_cast<const uint8_t*>(data.data() + at[n]);
        row.KVRBinData.emplace(r, r + length[n]);
        codec::decodePluRecord(e, row);
    };

    // The later half, on its own thread and connection, when there is a side table.
    const size_t split = (sideFill && rows >= 2) ? rows / 2 : rows;
    std::atomic<size_t> sideDone{0};
    std::atomic<bool> sideStop{false}, sideEnded{false};
    std::exception_ptr sideFault;
    std::thread sideThread;
    if (split < rows) {
        sideThread = std::thread([&] {
            try {
                Database& side = sideFill->side();
                RowMapper<codec::PluRow> sideMap(side, "KVR_25", codec::pluColumns());
                auto& insert = side.cached(sideMap.insertSql());
                ThreadCodecEnvironment sideEnv(env);
                codec::PluRow row;
                Transaction tx(side);
                for (size_t n = split; n < rows && !sideStop.load(std::memory_order_relaxed); ++n) {
                    unpackRow(sideEnv.env(), n, row);
                    sideMap.bind(insert, row);
                    insert.step();
                    insert.resetKeepingBindings();
                    sideDone.store(n - split + 1, std::memory_order_relaxed);
                }
                tx.commit();
            } catch (...) {
                sideFault = std::current_exception();
            }
            sideEnded = true;
        });
    }
    struct JoinSide {
        std::thread& t;
        std::atomic<bool>& stop;
        ~JoinSide() {
            stop = true;
            if (t.joinable()) t.join();
        }
    } joinSide{sideThread, sideStop};
    size_t sideShown = 0;
    auto showSide = [&] {
        const size_t d = sideDone.load(std::memory_order_relaxed);
        if (d > sideShown) {
            p.step(static_cast<long>(d - sideShown));
            sideShown = d;
        }
    };

    ThreadCodecEnvironment decoderEnv(env);
    auto& insert = db.cached(map.insertSql());
    struct Batch {
        std::vector<codec::PluRow> rows;
        size_t first = 0, size = 0;  // the batch's rows among the keys
    };
    constexpr size_t kBatch = 256;
    size_t next = 0;
    auto fill = [&](Batch& b) -> bool {
        b.first = next;
        b.size = std::min(kBatch, split - next);
        b.rows.resize(b.size);
        next += b.size;
        return b.size > 0;
    };
    auto unpack = [&](Batch& b) {
        for (size_t i = 0; i < b.size; ++i) unpackRow(decoderEnv.env(), b.first + i, b.rows[i]);
    };
    auto write = [&](Batch& b) {
        for (size_t i = 0; i < b.size; ++i) {
            map.bind(insert, b.rows[i]);  // every column, each row
            insert.step();
            insert.resetKeepingBindings();
            p.step();
        }
        showSide();
    };
    pipelineBatches<Batch>(fill, unpack, write);
    if (split < rows) {
        // The progress goes on with the side thread's rows until it is done.
        while (!sideEnded) {
            std::this_thread::sleep_for(std::chrono::milliseconds(5));
            showSide();
        }
        sideThread.join();
        if (sideFault) std::rethrow_exception(sideFault);
        showSide();
        sideFill->append();
    }
}

// A record file of any table but KVR_25, whose rows insertPluRows makes whole.
void importRecordFile(Database& db, const std::string& folder, const MirrorRecordFile& f, Progress& p) {
    const std::string path = folder + "/" + f.file;
    std::error_code ec;
    if (!fs::exists(path, ec)) return;
    const TableDef* t = db.table(f.table);
    if (!t) db.fail(std::string("there is no table ") + f.table);
    const std::string data = readWhole(path);
    const auto ids = rowIds(db, t->name);
    const std::vector<uint8_t> placeholder = placeholderRecord(f);
    size_t pos = 0;
    long n = 0;
    for (int64_t id : ids) {
        ++n;
        size_t len;
        if (f.fixedLength > 0) {
            // A short file is not noticed: the rows beyond its end keep no record.
            if (pos + static_cast<size_t>(f.fixedLength) > data.size()) break;
            len = static_cast<size_t>(f.fixedLength);
        } else {
            if (data.empty()) return;
            len = recordLength(path, data, pos, n, ids.size(), "rows");
        }
        std::vector<uint8_t> rec(reinterpret_cast<const uint8_t*>(data.data() + pos),
                                 reinterpret_cast<const uint8_t*>(data.data() + pos + len));
        pos += len;
        // The end writes this for a row without a record (and earlier ends for a department, main
        // group or flexi barcode without one, whose columns it would blank): the row has none.
        if (rec != placeholder) setRecord(db, t->name, id, rec, f.extra);
        p.step();
    }
}

template <class Row>
void decodeSmallTable(Database& db, const char* table, const char* file, std::span<const codec::ColumnInfo<Row>> columns,
                      const codec::CodePage& cp) {
    RowMapper<Row> map(db, table, columns);
    auto& read = db.cached(map.selectSql());
    std::vector<std::pair<int64_t, Row>> rows;
    while (read.step()) {
        rows.emplace_back(read.columnInt(0), Row{});
        map.read(read, rows.back().second);
    }
    read.reset();
    auto& write = db.cached(map.updateSql());
    const int rowidParam = static_cast<int>(map.size() + 1);
    long n = 0;
    for (auto& [rowid, row] : rows) {
        ++n;
        if (!row.KVRBinData) continue;  // no record: the text file's values stand
        codec::Status s = codec::decodeSmallRecords(std::span<Row>(&row, 1), cp);
        if (!s.ok()) throw FatalError(file, 0, "record " + std::to_string(n) + ": " + s.message());
        map.bind(write, row);
        sqlite3_bind_int64(write.handle(), rowidParam, rowid);
        write.step();
        write.reset();
    }
}

long fileLines(const std::string& path) {
    std::error_code ec;
    auto size = fs::file_size(path, ec);
    return ec ? 0 : static_cast<long>(size / 64 + 1);
}

}  // namespace

void exportTables(Database& db, const std::string& folder, const MirrorOptions& options) {
    Progress p{options};
    for (const auto& f : mirrorTextFiles()) p.total += countRows(db, f.table);
    exportTextFiles(db, folder, p);
}

MirrorReport exportRecords(Database& db, const std::string& folder, const MirrorOptions& options) {
    Progress p{options};
    for (const auto& f : mirrorRecordFiles()) p.total += countRows(db, f.table);
    MirrorReport report;
    exportRecordFiles(db, folder, folder, options, p, report);
    return report;
}

void decodeSmallRecordTables(Database& db, const std::string& folder, const MirrorOptions& options) {
    const codec::CodePage& cp = codePageOf(options, "decodeSmallRecords");
    Transaction tx(db);
    decodeSmallTable<codec::DeptRow>(db, "KVR_20", (folder + "/tempdeptkvr.txt").c_str(), codec::deptColumns(), cp);
    decodeSmallTable<codec::MainGroupRow>(db, "KVR_23", (folder + "/tempmgkvr.txt").c_str(), codec::mainGroupColumns(), cp);
    decodeSmallTable<codec::FlexiBarcodeRow>(db, "KVR_14", (folder + "/tempflexibarcodekvr.txt").c_str(),
                                             codec::flexiBarcodeColumns(), cp);
    tx.commit();
}

void recoverMirror(const std::string& appDir) {
    const std::string live = appDir + "/" + kFolder, staging = appDir + "/" + kStaging, retired = appDir + "/" + kRetired;
    std::error_code ec;
    if (!fs::exists(live, ec)) {
        if (fs::exists(retired, ec)) {
            // The end stopped between its two renames: the new set was complete before the first.
            if (fs::exists(staging, ec)) fs::rename(staging, live, ec);
            else fs::rename(retired, live, ec);
        } else {
            // A new set alone was never put in place: it may be unfinished. The working database
            // the run left still holds its data.
            fs::remove_all(staging, ec);
        }
        syncFolder(appDir);
    }
    if (fs::exists(live, ec)) {
        fs::remove_all(staging, ec);
        fs::remove_all(retired, ec);
    }
}

void readMirror(Database& db, const std::string& appDir, const MirrorOptions& options) {
    recoverMirror(appDir);
    const std::string folder = appDir + "/" + kFolder;
    // The text files first and the record files after them, as ever; only the PLU rows wait for
    // their records, so that each is written once.
    Progress p{options};
    for (const auto& f : mirrorTextFiles()) p.total += fileLines(folder + "/" + f.file);
    p.total += fileLines(folder + "/" + transferLogMirrorFile().file);
    PluKeys keys;
    // The working database is made anew from the mirror at every start, so while it is being
    // filled nothing needs the journal or the waits for the disk: a crash here loses nothing
    // that the next start does not rebuild. The usual safety returns before anyone else uses it.
    db.exec("PRAGMA journal_mode=OFF");
    db.exec("PRAGMA synchronous=OFF");
    db.exec("PRAGMA cache_size=-65536");
    struct Restore {
        Database& db;
        ~Restore() {
            try {
                db.exec("PRAGMA cache_size=-2000");
                db.exec("PRAGMA synchronous=FULL");
                db.exec("PRAGMA journal_mode=DELETE");
            } catch (...) {
            }
        }
    } restore{db};
    // A large PLU file is unpacked on two threads, half into a side table (made before the
    // transaction: a database is attached outside one).
    std::optional<SideFill> side;
    {
        std::error_code ec;
        const auto bytes = fs::file_size(folder + "/tempplukvr.txt", ec);
        if (!ec && options.parallelFillBytes >= 0 && bytes >= static_cast<uintmax_t>(options.parallelFillBytes) &&
            db.table("KVR_25"))
            side.emplace(db, "KVR_25");
    }
    Transaction tx(db);
    for (const auto& f : mirrorTextFiles()) importTextFile(db, folder, f, p, keys);
    if (db.table(transferLogMirrorFile().table)) importTextFile(db, folder, transferLogMirrorFile(), p, keys);
    p.total += static_cast<long>(keys.rows.size());
    for (const auto& f : mirrorRecordFiles()) {
        if (f.extra == RecordExtra::Plu) insertPluRows(db, folder, keys, options, p, side ? &*side : nullptr);
        else importRecordFile(db, folder, f, p);
    }
    tx.commit();
    if (side) side->finish();
    decodeSmallRecordTables(db, folder, options);
}

MirrorReport writeMirror(Database& db, const std::string& appDir, const MirrorOptions& options) {
    const std::string live = appDir + "/" + kFolder, staging = appDir + "/" + kStaging, retired = appDir + "/" + kRetired;
    std::error_code ec;
    recoverMirror(appDir);
    fs::remove_all(staging, ec);
    fs::create_directories(staging, ec);
    if (ec) throw FatalError(staging, 0, "the folder cannot be made: " + ec.message());
    // An end that fails leaves no new set behind, half or whole, unless the old one was already
    // moved aside: then the next start puts the complete new one in place.
    struct DropStaging {
        const std::string& live;
        const std::string& staging;
        const std::string& retired;
        ~DropStaging() {
            std::error_code e;
            // Kept only when the old set is already moved aside: then the new one is complete.
            if (fs::exists(live, e) || !fs::exists(retired, e)) fs::remove_all(staging, e);
        }
    } dropStaging{live, staging, retired};
    // The page the records of this set are written in, so that the next start reads them in it.
    writeMirrorCodePage(staging, codePageOf(options, "writeMirror").name());


    Progress p{options};
    // Each table is counted once, though some have both a text and a record file.
    std::map<std::string, long> rows;
    auto counted = [&](const char* table) {
        auto [it, fresh] = rows.try_emplace(table, 0);
        if (fresh) it->second = countRows(db, table);
        return it->second;
    };
    for (const auto& f : mirrorTextFiles()) p.total += counted(f.table);
    for (const auto& f : mirrorRecordFiles()) p.total += counted(f.table);
    const long historyRows = transferLogRows(db);
    p.total += historyRows;
    MirrorReport report;
    // Every row is read once, in order, through the page cache: mapping the whole file made it
    // count as resident (378 MB at 300,000 PLUs) and was not faster.
    exportTextFiles(db, staging, p);
    exportRecordFiles(db, staging, live, options, p, report);
    if (historyRows > 0) exportTextFile(db, staging, transferLogMirrorFile(), p);
    if (!report.problems.empty() && options.confirmKeptRecords && !options.confirmKeptRecords(report.problems))
        throw MirrorCancelled(report.problems);
    syncFileSystem(staging);
    syncFolder(staging);
    p.checkpoint();

    if (!fs::exists(live, ec)) {
        fs::rename(staging, live, ec);
        if (ec) throw FatalError(live, 0, "the new mirror cannot be put in place: " + ec.message());
    } else if (::renameat2(AT_FDCWD, staging.c_str(), AT_FDCWD, live.c_str(), RENAME_EXCHANGE) == 0) {
        // One atomic swap: the old set now stands under the staging name.
        syncFolder(appDir);
        p.checkpoint();
        fs::remove_all(staging, ec);
    } else {
        // A file system without the swap: two renames, which the next start completes if they
        // are interrupted between them.
        fs::rename(live, retired, ec);
        if (ec) throw FatalError(live, 0, "the old mirror cannot be moved aside: " + ec.message());
        syncFolder(appDir);
        p.checkpoint();
        fs::rename(staging, live, ec);
        if (ec) throw FatalError(live, 0, "the new mirror cannot be put in place: " + ec.message());
        syncFolder(appDir);
        p.checkpoint();
        fs::remove_all(retired, ec);
    }
    syncFolder(appDir);
    p.checkpoint();
    return report;
}

}  // namespace brindale::store
