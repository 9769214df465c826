// 100 000 small records added, rewritten larger and read back by number:
// the block database against SQLite (an INTEGER PRIMARY KEY table with a
// blob, journal and sync off, one statement per record), in the same run.
#include <benchmark/benchmark.h>
#include <sqlite3.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include <unistd.h>

#include "shared/database.h"
#include "shared/errors.h"

namespace {

constexpr long kRecords = 100000;
constexpr long kSmall = 32;
constexpr long kLarge = 100;
constexpr TypeIdent kRecordType = OWB_TYPE("RECD");

std::string benchPath(const char* name) {
  const char* base = std::getenv("TMPDIR");
  return std::string(base && *base ? base : "/tmp") + "/" + name + "." + std::to_string(getpid());
}

std::vector<char> payload(long length, char fill) { return std::vector<char>(length, fill); }

// ---------------------------------------------------------------- block database

// Block numbers are not 1..N: growing the list may take a number for the
// space it leaves, so the numbers handed out are kept.
typedef std::vector<long> BlockNumbers;

void ourAdd(Database& db, BlockNumbers* numbers) {
  std::vector<char> data = payload(kSmall, 'a');
  numbers->clear();
  for (long i = 0; i < kRecords; ++i) {
    long block = 0;
    if (db.addBlock(kRecordType, kSmall, 0, &block) != kNoError ||
        db.writeDataToBlock(block, data.data(), kSmall) != kNoError)
      std::abort();
    numbers->push_back(block);
  }
}

void ourRewrite(Database& db, const BlockNumbers& numbers) {
  std::vector<char> data = payload(kLarge, 'b');
  for (long block : numbers)
    if (db.writeDataToBlock(block, data.data(), kLarge) != kNoError) std::abort();
}

void ourRead(Database& db, const BlockNumbers& numbers) {
  std::vector<char> data(kLarge);
  for (long block : numbers) {
    long length = 0;
    if (db.getBlockLength(block, &length) != kNoError || length != kLarge ||
        db.readDataFromBlock(block, data.data(), TRUE) != kNoError || data[kLarge - 1] != 'b')
      std::abort();
  }
}

void freshDatabase(Database& db, const std::string& path) {
  std::remove(path.c_str());
  if (db.createDBFile(path.c_str(), OWB_TYPE("BNCH"), 1) != kNoError ||
      db.openDBFile(path.c_str(), kReadWriteAccess, TRUE) != kNoError)
    std::abort();
}

void BM_BlockDatabase_Add(benchmark::State& state) {
  std::string path = benchPath("bench_blockdb");
  for (auto _ : state) {
    state.PauseTiming();
    Database db;
    freshDatabase(db, path);
    BlockNumbers numbers;
    state.ResumeTiming();
    ourAdd(db, &numbers);
    state.PauseTiming();
    db.closeDBFile();
    state.ResumeTiming();
  }
  state.counters["records/s"] = benchmark::Counter(static_cast<double>(kRecords) * state.iterations(), benchmark::Counter::kIsRate);
  std::remove(path.c_str());
}

void BM_BlockDatabase_RewriteLarger(benchmark::State& state) {
  std::string path = benchPath("bench_blockdb");
  for (auto _ : state) {
    state.PauseTiming();
    Database db;
    freshDatabase(db, path);
    BlockNumbers numbers;
    ourAdd(db, &numbers);
    state.ResumeTiming();
    ourRewrite(db, numbers);
    state.PauseTiming();
    db.closeDBFile();
    state.ResumeTiming();
  }
  state.counters["records/s"] = benchmark::Counter(static_cast<double>(kRecords) * state.iterations(), benchmark::Counter::kIsRate);
  std::remove(path.c_str());
}

void BM_BlockDatabase_ReadByNumber(benchmark::State& state) {
  std::string path = benchPath("bench_blockdb");
  BlockNumbers numbers;
  {
    Database db;
    freshDatabase(db, path);
    ourAdd(db, &numbers);
    ourRewrite(db, numbers);
  }
  for (auto _ : state) {
    state.PauseTiming();
    Database db;
    if (db.openDBFile(path.c_str(), kReadOnlyAccess, TRUE) != kNoError) std::abort();
    state.ResumeTiming();
    ourRead(db, numbers);
  }
  state.counters["records/s"] = benchmark::Counter(static_cast<double>(kRecords) * state.iterations(), benchmark::Counter::kIsRate);
  std::remove(path.c_str());
}

// ---------------------------------------------------------------- SQLite

struct Sqlite {
  sqlite3* db = nullptr;
  // fresh: a new empty file; otherwise the existing one.
  Sqlite(const std::string& path, bool fresh) {
    if (fresh) std::remove(path.c_str());
    if (sqlite3_open(path.c_str(), &db) != SQLITE_OK) std::abort();
    exec("PRAGMA journal_mode=OFF");
    exec("PRAGMA synchronous=OFF");
    exec("CREATE TABLE IF NOT EXISTS records (id INTEGER PRIMARY KEY, data BLOB)");
  }
  ~Sqlite() { sqlite3_close(db); }
  void exec(const char* sql) {
    if (sqlite3_exec(db, sql, nullptr, nullptr, nullptr) != SQLITE_OK) std::abort();
  }
  sqlite3_stmt* prepare(const char* sql) {
    sqlite3_stmt* statement = nullptr;
    if (sqlite3_prepare_v2(db, sql, -1, &statement, nullptr) != SQLITE_OK) std::abort();
    return statement;
  }
  // One statement per record, each its own transaction.
  void write(const char* sql, long length, char fill) {
    std::vector<char> data = payload(length, fill);
    sqlite3_stmt* statement = prepare(sql);
    for (long id = 1; id <= kRecords; ++id) {
      sqlite3_bind_blob(statement, 1, data.data(), static_cast<int>(length), SQLITE_STATIC);
      sqlite3_bind_int64(statement, 2, id);
      if (sqlite3_step(statement) != SQLITE_DONE) std::abort();
      sqlite3_reset(statement);
    }
    sqlite3_finalize(statement);
  }
  void add() { write("INSERT INTO records (data, id) VALUES (?1, ?2)", kSmall, 'a'); }
  void rewrite() { write("UPDATE records SET data = ?1 WHERE id = ?2", kLarge, 'b'); }
  void read() {
    std::vector<char> data(kLarge);
    sqlite3_stmt* statement = prepare("SELECT data FROM records WHERE id = ?1");
    for (long id = 1; id <= kRecords; ++id) {
      sqlite3_bind_int64(statement, 1, id);
      if (sqlite3_step(statement) != SQLITE_ROW || sqlite3_column_bytes(statement, 0) != kLarge)
        std::abort();
      std::memcpy(data.data(), sqlite3_column_blob(statement, 0), kLarge);
      if (data[kLarge - 1] != 'b') std::abort();
      sqlite3_reset(statement);
    }
    sqlite3_finalize(statement);
  }
};

void BM_SQLite_Add(benchmark::State& state) {
  std::string path = benchPath("bench_sqlite");
  for (auto _ : state) {
    state.PauseTiming();
    auto* db = new Sqlite(path, true);
    state.ResumeTiming();
    db->add();
    state.PauseTiming();
    delete db;
    state.ResumeTiming();
  }
  state.counters["records/s"] = benchmark::Counter(static_cast<double>(kRecords) * state.iterations(), benchmark::Counter::kIsRate);
  std::remove(path.c_str());
}

void BM_SQLite_RewriteLarger(benchmark::State& state) {
  std::string path = benchPath("bench_sqlite");
  for (auto _ : state) {
    state.PauseTiming();
    auto* db = new Sqlite(path, true);
    db->add();
    state.ResumeTiming();
    db->rewrite();
    state.PauseTiming();
    delete db;
    state.ResumeTiming();
  }
  state.counters["records/s"] = benchmark::Counter(static_cast<double>(kRecords) * state.iterations(), benchmark::Counter::kIsRate);
  std::remove(path.c_str());
}

void BM_SQLite_ReadByNumber(benchmark::State& state) {
  std::string path = benchPath("bench_sqlite");
  {
    Sqlite db(path, true);
    db.add();
    db.rewrite();
  }
  for (auto _ : state) {
    state.PauseTiming();
    auto* db = new Sqlite(path, false);
    state.ResumeTiming();
    db->read();
    state.PauseTiming();
    delete db;
    state.ResumeTiming();
  }
  state.counters["records/s"] = benchmark::Counter(static_cast<double>(kRecords) * state.iterations(), benchmark::Counter::kIsRate);
  std::remove(path.c_str());
}

}  // namespace

BENCHMARK(BM_BlockDatabase_Add)->Unit(benchmark::kMillisecond)->Iterations(3)->UseRealTime();
BENCHMARK(BM_SQLite_Add)->Unit(benchmark::kMillisecond)->Iterations(3)->UseRealTime();
BENCHMARK(BM_BlockDatabase_RewriteLarger)->Unit(benchmark::kMillisecond)->Iterations(3)->UseRealTime();
BENCHMARK(BM_SQLite_RewriteLarger)->Unit(benchmark::kMillisecond)->Iterations(3)->UseRealTime();
BENCHMARK(BM_BlockDatabase_ReadByNumber)->Unit(benchmark::kMillisecond)->Iterations(3)->UseRealTime();
BENCHMARK(BM_SQLite_ReadByNumber)->Unit(benchmark::kMillisecond)->Iterations(3)->UseRealTime();
