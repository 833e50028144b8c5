#include "store/plu_pack.h"

#include <condition_variable>
#include <mutex>
#include <optional>
#include <thread>

#include "codec/code_page.h"
#include "codec/plu_columns.h"
#include "codec/plu_record.h"
#include "store/codec_sources.h"
#include "store/row_mapper.h"

namespace brindale::store {

namespace {

// Rows read, encoded and written a batch at a time: while the encoder works on one batch on its
// own thread, the connection's thread writes the batch before and reads the batch after. Only the
// connection's thread touches the database.
constexpr size_t kBatch = 256;

struct Batch {
    std::vector<int64_t> ids;
    std::vector<codec::PluRow> rows;
    std::vector<std::optional<codec::Status>> failed;  // set where the encoder refused the row
    size_t size = 0;
};

// One encoder thread fed one batch at a time, in row order, so that the settings the encoder
// remembers from row to row are those of a single pass.
class EncoderThread {
public:
    EncoderThread(const codec::CodecEnvironment& env, bool inherit) : ctx_(env), inherit_(inherit) {
        // A code page converts through its own iconv state: the encoder's thread has its own.
        if (env.codePage) {
            codePage_.emplace(env.codePage->name());
            ctx_.env.codePage = &*codePage_;
        }
        ctx_.remembered.clearKey();
        thread_ = std::thread([this] { loop(); });
    }
    ~EncoderThread() {
        {
            std::lock_guard lock(m_);
            stop_ = true;
        }
        cv_.notify_all();
        thread_.join();
    }
    void start(Batch& b) {
        std::lock_guard lock(m_);
        job_ = &b;
        done_ = false;
        cv_.notify_all();
    }
    void wait() {
        std::unique_lock lock(m_);
        cv_.wait(lock, [this] { return done_; });
    }

private:
    void loop() {
        for (;;) {
            Batch* b = nullptr;
            {
                std::unique_lock lock(m_);
                cv_.wait(lock, [this] { return stop_ || job_ != nullptr; });
                if (stop_) return;
                b = job_;
            }
            for (size_t i = 0; i < b->size; ++i) {
                codec::Status s = codec::encodePluRecord(ctx_, b->rows[i], inherit_);
                if (s.ok())
                    b->failed[i].reset();
                else
                    b->failed[i] = std::move(s);
            }
            {
                std::lock_guard lock(m_);
                job_ = nullptr;
                done_ = true;
            }
            cv_.notify_all();
        }
    }
    std::optional<codec::CodePage> codePage_;
    codec::EncoderContext ctx_;
    const bool inherit_;
    std::mutex m_;
    std::condition_variable cv_;
    Batch* job_ = nullptr;
    bool done_ = true;
    bool stop_ = false;
    std::thread thread_;
};

}  // namespace

PluPackResult packPluRows(Database& db, const codec::CodecEnvironment& base, const std::string& where, bool inherit,
                          const PackProgress& progress) {
    PluPackResult result;
    RowMapper<codec::PluRow> map(db, "KVR_25", codec::pluColumns());
    // The inherited settings and flexi rows read once, so the encoder's thread asks no statement.
    CodecSourcesSnapshot sources(db);
    codec::CodecEnvironment env = base;
    env.inheritance = &sources;
    env.flexiBarcodes = &sources;
    long total = 0;
    if (progress) {
        auto count = db.prepare("SELECT COUNT(*) FROM KVR_25" + (where.empty() ? std::string() : " WHERE " + where));
        count->step();
        total = long(count->columnInt(0));
    }
    long done = 0;
    Transaction tx(db);
    // Only the columns the encoder writes go back: a tenth of the row's columns.
    std::vector<codec::ColumnInfo<codec::PluRow>> written;
    for (const auto& c : codec::pluColumns())
        if (codec::encoderWritesColumn(c.name)) written.push_back(c);
    RowMapper<codec::PluRow> out(db, "KVR_25", written);
    auto& update = db.cached(out.updateSql());
    // One pass in row order: the writes touch only the encoder's columns, which no condition of
    // the pass reads, and only rows the pass has left behind.
    auto read = db.prepare(map.selectSql(where));
    bool more = true;
    auto fill = [&](Batch& b) {
        b.size = 0;
        while (b.size < kBatch && more) {
            if (!read->step()) {
                more = false;
                break;
            }
            if (progress) progress(++done, total);
            if (b.rows.size() <= b.size) {
                b.rows.emplace_back();
                b.ids.push_back(0);
                b.failed.emplace_back();
            }
            b.ids[b.size] = read->columnInt(0);
            map.read(*read, b.rows[b.size]);
            ++b.size;
        }
    };
    auto write = [&](Batch& b) {
        for (size_t i = 0; i < b.size; ++i) {
            const codec::PluRow& row = b.rows[i];
            if (b.failed[i]) {
                PluPackProblem p;
                p.rowid = b.ids[i];
                p.PLU_No = row.PLU_No;
                p.ST_No = row.ST_No;
                p.error = b.failed[i]->error();
                p.column = p.error.column;
                p.reason = b.failed[i]->message();
                result.problems.push_back(std::move(p));
                continue;
            }
            out.bind(update, row);
            sqlite3_bind_int64(update.handle(), static_cast<int>(out.size() + 1), b.ids[i]);
            update.step();
            update.reset();
            ++result.packed;
        }
    };
    {
        Batch batches[2];  // outlives the encoder, which may still hold one when a read fails
        EncoderThread encoder(env, inherit);
        int at = 0;
        fill(batches[at]);
        while (batches[at].size > 0) {
            encoder.start(batches[at]);
            Batch& next = batches[at ^ 1];
            fill(next);  // read ahead while the encoder works
            encoder.wait();
            write(batches[at]);
            at ^= 1;
        }
    }
    tx.commit();
    return result;
}

}  // namespace brindale::store
