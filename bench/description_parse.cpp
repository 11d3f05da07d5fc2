// Parse and conversion of module description files of a vendor's size and of ten times that,
// next to pugixml's bare load of the same file: the parser's own cost should stay a small,
// linear share on top of the DOM.
#include <benchmark/benchmark.h>

#include <cstdio>
#include <fstream>
#include <pugixml.hpp>
#include <sstream>
#include <string>
#include <unistd.h>

#include "description/CDF_Parser.h"
#include "description/MdfTableConversion.h"

namespace {

const std::string kRealisticMdf = std::string(QUILLON_FIXTURES_DIR) + "/description/mdf_realistic.xml";
const std::string kRealisticCdf = std::string(QUILLON_FIXTURES_DIR) + "/description/cdf_realistic.xml";

std::string ReadAll(const std::string& path)
{
    std::ifstream in(path, std::ios::binary);
    std::ostringstream s;
    s << in.rdbuf();
    return s.str();
}

void ReplaceAll(std::string& text, const std::string& from, const std::string& to)
{
    for (size_t at = text.find(from); at != std::string::npos; at = text.find(from, at + to.size()))
        text.replace(at, from.size(), to);
}

// The realistic body n times, each copy with its own EIDs so references resolve within it.
const std::string& ScaledMdf(int n)
{
    static std::string path;
    static int made = 0;
    if (made == n)
        return path;
    const std::string text = ReadAll(kRealisticMdf);
    const size_t bodyStart = text.find('>', text.find("<MVCI_MODULE_DESCRIPTION")) + 1;
    const size_t bodyEnd = text.rfind("</MVCI_MODULE_DESCRIPTION>");
    std::string out = text.substr(0, bodyStart);
    for (int k = 0; k < n; ++k) {
        std::string body = text.substr(bodyStart, bodyEnd - bodyStart);
        ReplaceAll(body, "EID=\"", "EID=\"c" + std::to_string(k) + "_");
        ReplaceAll(body, "IDREF=\"", "IDREF=\"c" + std::to_string(k) + "_");
        out += body;
    }
    out += text.substr(bodyEnd);
    path = "/tmp/quillon_bench_mdf_x" + std::to_string(n) + "_" + std::to_string(getpid()) + ".xml";
    std::ofstream(path, std::ios::binary) << out;
    made = n;
    return path;
}

const std::string& MdfFor(int scale) { return scale == 1 ? kRealisticMdf : ScaledMdf(scale); }

void SetFileCounters(benchmark::State& state, const std::string& path)
{
    std::ifstream in(path, std::ios::binary | std::ios::ate);
    const auto bytes = static_cast<int64_t>(in.tellg());
    state.SetBytesProcessed(state.iterations() * bytes);
    state.counters["file_kB"] = static_cast<double>(bytes) / 1024.0;
}

void BM_PugixmlLoad(benchmark::State& state)
{
    const std::string path = MdfFor(static_cast<int>(state.range(0)));
    for (auto _ : state) {
        pugi::xml_document doc;
        benchmark::DoNotOptimize(doc.load_file(path.c_str()));
    }
    SetFileCounters(state, path);
}

void BM_MdfParseAndConvert(benchmark::State& state)
{
    const std::string path = MdfFor(static_cast<int>(state.range(0)));
    size_t comParams = 0;
    for (auto _ : state) {
        MDF_Parser parser;
        DescriptionTables tables;
        if (!parser.Load(path) || !parser.Parse() || !parser.FixReferences()
            || !ConvertMdfTables(parser, tables, [](const std::string&) {}))
            state.SkipWithError("parse failed");
        parser.Clear();
        comParams = tables.comParams.size();
    }
    SetFileCounters(state, path);
    state.counters["comparams"] = static_cast<double>(comParams);
}

void BM_CdfParse(benchmark::State& state)
{
    for (auto _ : state) {
        CDF_Parser cdf;
        if (!cdf.Load(kRealisticCdf) || !cdf.Parse())
            state.SkipWithError("parse failed");
        benchmark::DoNotOptimize(cdf.GetCables().size());
    }
    SetFileCounters(state, kRealisticCdf);
}

} // namespace

BENCHMARK(BM_PugixmlLoad)->Arg(1)->Arg(10)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_MdfParseAndConvert)->Arg(1)->Arg(10)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_CdfParse)->Unit(benchmark::kMillisecond);

BENCHMARK_MAIN();
