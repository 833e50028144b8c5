#pragma once
// A working database made from the shipped schema, and helpers to put label format rows in it.
#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "labelformat/codec.h"
#include "store/database.h"
#include "support/temp_app.h"

namespace brindale::labelformat::test {

class LabelDb : public ::testing::Test {
protected:
    void SetUp() override;
    store::Database& db() { return *db_; }
    RecordLayout layout();
    // A record of the size with the packed number, every other byte from a seed (0 for zeros).
    Bytes makeRecord(int number, int size, unsigned seed);
    void insertRecord(const std::string& table, const std::string& pfNo, const store::Value& bin);
    store::Value binOf(const std::string& table, int number);
    std::string columnOf(int number, int ordinal);
    long rows(const std::string& table);

    brindale::testing::TempApp app_;
    std::unique_ptr<store::Database> db_;
};

}  // namespace brindale::labelformat::test
