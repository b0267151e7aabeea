// SPDX-License-Identifier: Apache-2.0
// Each parser on outputs of 1 to 1000 records (guest properties up to 10,000). The input
// size goes out as a counter, so that the summary can state MB/s of input.
#include "samples.h"
#include "vboxinterfaceparser.h"
#include "vboxoutputparser.h"

#include <benchmark/benchmark.h>

#include <functional>

namespace {

using Generator = QString (*)(int);
using Parse = std::function<int(const QString &)>;

void parseBenchmark(benchmark::State &state, Generator generate, const Parse &parse)
{
    const QString output = generate(static_cast<int>(state.range(0)));
    int records = 0;
    for (auto _ : state) {
        records = parse(output);
        benchmark::DoNotOptimize(records);
    }
    if (records < 0)
        state.SkipWithError("the parser missed part of the sample");
    // VBoxManage prints ASCII here, one byte per character.
    state.counters["input_bytes"] = output.size();
    state.counters["records"] = records;
}

void registerParser(const char *name, Generator generate, const Parse &parse, int largest = 1000)
{
    auto *benchmark =
        benchmark::RegisterBenchmark(name, [generate, parse](benchmark::State &state) {
            parseBenchmark(state, generate, parse);
        });
    // Repeated: the summary takes each size's median, as the growth target compares sizes.
    benchmark->Unit(benchmark::kMicrosecond)->MinTime(0.2)->Repetitions(5);
    for (int records = 1; records <= largest; records *= 10)
        benchmark->Arg(records);
}

int parseDescription(const QString &description)
{
    // Everything the machine reads from one description, and the disk lookup.
    unsigned int cpus = 0;
    unsigned int memory = 0;
    VBoxOutputParser::parseCpuCount(description, &cpus);
    VBoxOutputParser::parseMemorySize(description, &memory);
    const VMToolsMachine::State state = VBoxOutputParser::parseState(description);
    const QMap<int, QString> nics = VBoxOutputParser::parseNics(description);
    const QString disk = VBoxOutputParser::parseDiskUuid(description, SecondaryPort, MasterDevice);
    const bool complete =
        state == VMToolsMachine::On && cpus == 2 && memory == 2048 && !disk.isEmpty();
    return complete ? nics.size() : -1;
}

const bool registered = [] {
    registerParser("parse/machines", Samples::machineList, [](const QString &text) {
        return VBoxOutputParser::parseMachineList(text).size();
    });
    registerParser("parse/dhcpservers", Samples::dhcpServers, [](const QString &text) {
        return VBoxOutputParser::parseDhcpServers(text).size();
    });
    registerParser("parse/hostonlyifs", Samples::hostOnlyInterfaces, [](const QString &text) {
        return VBoxOutputParser::parseHostOnlyInterfaces(text).size();
    });
    registerParser(
        "parse/guestproperties", Samples::guestProperties,
        [](const QString &text) { return VBoxOutputParser::parseGuestProperties(text).size(); },
        10000);
    registerParser("parse/description", Samples::description, parseDescription);
    registerParser("parse/snapshots", Samples::snapshots, [](const QString &text) {
        return VBoxOutputParser::parseSnapshotNames(text).size();
    });
    registerParser("parse/bridgedifs", Samples::bridgedInterfaces, [](const QString &text) {
        return VBoxInterfaceParser::parseBridgeableInterfaces(text).size();
    });
    return true;
}();

} // namespace
