// Cost of tool messaging: a request/reply round trip between two processes
// on loopback (target: median under 1 ms), in-process dispatch, and the
// header codec.  The round trip's median and 90th percentile are printed as
// counters, in microseconds.
#include <benchmark/benchmark.h>
#include <signal.h>
#include <stdlib.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <string>
#include <thread>
#include <vector>

#include "shared/globals.h"
#include "shared/messages.h"
#include "shared/tcpxport.h"
#include "shared/utils.h"

namespace {

constexpr TypeIdent kEcho = OWB_TYPE("ECHO");

ErrorCode echoHandler(Message* message, Message* reply) {
  char text[256];
  message->getStringParam(0, text, sizeof text);
  reply->addStringParam(kParamStr255, text);
  return kNoError;
}

MessageTemplate echoTemplate() { return makeMessageTemplate({kParamStr255, kParamLong}); }

std::string gBenchHome;
pid_t gBenchProcess = getpid();

void removeBenchHome() {
  std::error_code ignored;
  if (getpid() == gBenchProcess) std::filesystem::remove_all(gBenchHome, ignored);
}

// A HOME of its own (removed at exit), with the log open as in a tool.
void startProcessGlobals(const char* name) {
  if (gBenchHome.empty()) {
    char pattern[] = "/tmp/owbbench.XXXXXX";
    if (!mkdtemp(pattern)) std::abort();
    gBenchHome = pattern;
    setenv("HOME", gBenchHome.c_str(), 1);
    std::atexit(removeBenchHome);
  }
  delete[] gToolName;
  gToolName = newStringCopy(name);
  if (!gOWBLogStream) openToolLog(false);
}

Message* newEchoRequest(const ToolInfo& destination) {
  Message* request = new Message(kEcho, &destination);
  request->header.needsReply = TRUE;
  request->addStringParam(kParamStr255, "/home/user/fleets/demo/demo.flt");
  request->addLongParam(7001);
  return request;
}

void BM_RequestReplyBetweenProcesses(benchmark::State& state) {
  startProcessGlobals("benchtool");
  int port = 24000 + static_cast<int>(getpid() % 2000);
  pid_t manager = fork();
  if (manager == 0) {
    delete[] gToolName;
    gToolName = newStringCopy("benchtm");
    MessageCenter center(port);
    MessageTemplate shape = echoTemplate();
    center.registerMessageHandler(kEcho, &shape, echoHandler);
    for (;;) center.poll();
  }
  std::this_thread::sleep_for(std::chrono::milliseconds(200));
  forgetToolManagerPort();
  MessageCenter tool;
  ToolInfo destination{};
  destination.listenerPort = getToolManagerPort();

  std::vector<double> samples;
  for (auto _ : state) {
    auto start = std::chrono::steady_clock::now();
    Message* reply = tool.sendMessage(newEchoRequest(destination));
    auto end = std::chrono::steady_clock::now();
    if (!reply) {
      state.SkipWithError("no reply");
      break;
    }
    delete reply;
    samples.push_back(std::chrono::duration<double, std::micro>(end - start).count());
  }
  kill(manager, SIGKILL);
  waitpid(manager, nullptr, 0);
  if (!samples.empty()) {
    std::sort(samples.begin(), samples.end());
    state.counters["median_us"] = samples[samples.size() / 2];
    state.counters["p90_us"] = samples[samples.size() * 9 / 10];
  }
}
BENCHMARK(BM_RequestReplyBetweenProcesses)->Iterations(2000)->UseRealTime();

void BM_InProcessDispatch(benchmark::State& state) {
  startProcessGlobals("benchtool");
  MessageCenter center;
  MessageTemplate shape = echoTemplate();
  center.registerMessageHandler(kEcho, &shape, echoHandler);
  ToolInfo self = center.thisToolInfo;
  for (auto _ : state) {
    Message* reply = center.dispatchMessage(newEchoRequest(self));
    benchmark::DoNotOptimize(reply);
    delete reply;
  }
}
BENCHMARK(BM_InProcessDispatch);

void BM_HeaderEncodeDecode(benchmark::State& state) {
  Message message(kEcho, nullptr);
  message.addStringParam(kParamStr255, "x");
  uint8_t wire[kMessageHeaderWireSize];
  MessageHeader decoded;
  for (auto _ : state) {
    encodeMessageHeader(message.header, wire);
    decodeMessageHeader(wire, &decoded);
    benchmark::DoNotOptimize(decoded);
  }
}
BENCHMARK(BM_HeaderEncodeDecode);

}  // namespace
