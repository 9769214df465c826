// Opens any bytes as a block database, walks every block and field, then
// writes to a copy: nothing may read or write outside its buffers.
#include <cstdint>
#include <cstdio>
#include <vector>

#include "fuzzfile.h"
#include "shared/database.h"

namespace {

void walk(Database& db) {
  long entries = db.getMPEntries();
  long limit = entries < 128 ? entries : 128;
  for (long n = 1; n <= limit; ++n) {
    MasterPtrEntry entry;
    db.getMPEntry(n, &entry);
    long length = 0;
    if (db.getBlockLength(n, &length) != 0 || length < 0 || length > (1 << 20)) continue;
    std::vector<char> data(static_cast<size_t>(length) + 1);
    db.readDataFromBlock(n, data.data(), 1);
    long fields = 0;
    db.countFieldsInBlock(n, &fields);
    long last = fields < 8 ? fields + 1 : 8;
    for (long f = 0; f <= last; ++f) {
      Ptr field = nullptr;
      long fieldLength = 0;
      db.getField(n, f, &field, &fieldLength);
      delete[] field;
      long value = 0;
      db.getLongFromBlock(n, f, &value);
      char small[8];
      db.getFieldIntoBuffer(n, f, small, &fieldLength, sizeof small);
    }
  }
  long count = 0, block = 0;
  db.countBlocksOfType(OWB_TYPE("DATA"), &count);
  db.getNthBlockOfType(OWB_TYPE("DATA"), 2, &block);
  db.getNextBlockOfType(kFreeBlockType, 0, &block);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  std::string path = writeFuzzFile("fuzz_database", data, size);
  if (path.empty()) return 0;
  {
    Database reader;
    if (reader.openDBFile(path.c_str(), kReadOnlyAccess, 0) == 0) walk(reader);
    short version = 0;
    reader.validDBFile(path.c_str(), OWB_TYPE("DATA"), &version);
  }
  {
    // Writing to the damaged file: blocks added, grown, filled and freed.
    // Only files whose list is of a modest size, so that each run stays
    // short (walks are bounded by the file's size, which writes can grow).
    Database writer;
    if (writer.openDBFile(path.c_str(), kReadWriteAccess, 0) == 0 &&
        writer.getFileLength() >= 0 && writer.getFileLength() < (1 << 20) &&
        writer.getMPOffset() >= 20 && writer.getMPOffset() < (1 << 16) &&
        writer.getMPSlots() <= 4096 && writer.getMPEntries() >= 0 &&
        writer.getMPEntries() <= writer.getMPSlots()) {
      long block = 0;
      if (writer.addBlock(OWB_TYPE("DATA"), 8, 4, &block) == 0) {
        writer.initBlockForFields(block);
        writer.addFieldToBlock(block, "fuzzing", 7);
        writer.setFieldOfBlock(block, 1, "a longer field than before", 26);
        writer.deleteFieldFromBlock(block, 1);
      }
      long first = 0;
      if (writer.getNthBlockOfType(OWB_TYPE("DATA"), 1, &first) == 0) {
        std::vector<char> big(300, 'x');
        writer.writeDataToBlock(first, big.data(), 300);
        writer.deleteBlock(first);
      }
      walk(writer);
    }
  }
  std::remove(path.c_str());
  return 0;
}
