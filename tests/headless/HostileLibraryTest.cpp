// quillon-cli against a library that answers wrongly on purpose (tests/fixtures/hostile): each
// case goes through the bench's flows up to the spoiled answer and on to the exit. The run must
// end by itself, with the log rows that say what the library got wrong.
#include <gtest/gtest.h>

#include <cstdio>
#include <sstream>

#include "../support/RunCommand.h"
#include "../support/TempDir.h"

namespace {

enum class Flow { Parse, Plain, Full };

struct HostileCase {
    const char* name;  // QUILLON_HOSTILE_CASE
    const char* api;
    Flow flow;
    std::vector<std::string> rows;  // in this order among the output's lines
};

const std::string kSend = "type \"PDU combo box\" 22,F1,90\nclick SENDRECV\nwait 500\n";

std::string Script(const HostileCase& c)
{
    std::string script = std::string("select \"Select PDU-API Version\" ") + c.api + "\nclick \"Parse MDF File\"\n";
    switch (c.flow) {
    case Flow::Parse:
        return script + "click PDUModuleConnect\nlog\nclick Exit\n";
    case Flow::Plain:
        return script + "click PDUModuleConnect\nclick \"Open LoLi\"\nclick PDUConnect\nwait 300\n" + kSend +
               "click PDUDisconnect\nwait 300\nlog\nclick Exit\nwindow Quillon\nlog\nclick Exit\n";
    case Flow::Full:
        return script + "click PDUModuleConnect\nclick \"Open LoLi\"\nclick Open\nwait 300\n"
                        "type \"PDU / CAN Frame\" 22,F1,90\nclick KdService\nwait 500\nclick Close\nwait 300\n"
                        "log\nclick \"Close Window\"\nwindow Quillon\nlog\nclick Exit\n";
    }
    return script;
}

const std::string kNoModule = "Error: No PduApi module found!";
const std::string kFinished = "ComPrimitive: 1(0x1) finished.";
const std::string kNullStatus = "Error: event item of type 0x1301 without its data (pData is NULL).";
const std::string kUnknownType = "Error: event item of unknown type 0x7777; the link reads no more events.";
const std::string kLinkEndless = "Warning: PDUGetEventItem still delivers after 1000 items; the link reads on after a pause.";
const std::string kOverrun = "Warning: NumDataBytes of 4294967280 is more than 65536; it is read that far.";
const std::string kModuleEndless =
    "Warning: the event queue of module 0x1 still delivers after 1000 items; it is read on later.";

std::string Unterminated(int hMod)
{
    return "Warning: a vendor text of module 0x" + std::to_string(hMod) +
           " has no end within 400 characters; it is read that far.";
}

const std::vector<HostileCase> kCases = {
    {"module_item_type", "MRVNE_HOSTILE", Flow::Parse,
     {"Error: PDUGetModuleIds delivered an item of type 0x1400 instead of PDU_IT_MODULE_ID.", kNoModule}},
    {"module_null_list", "MRVNE_HOSTILE", Flow::Parse,
     {"Error: PDUGetModuleIds delivered 3 modules without their data.", kNoModule}},
    {"module_absurd_count", "MRVNE_HOSTILE", Flow::Parse,
     {"Error: PDUGetModuleIds delivered 4294967295 modules, more than 1024.", kNoModule}},
    {"module_null_names", "MRVNE_HOSTILE", Flow::Plain,
     {kFinished, "   Vendor Module Name: (null), ", "   Vendor Additional Info: (null)"}},
    {"unterminated_names", "MRVNE_HOSTILE", Flow::Plain, {kFinished, Unterminated(1), Unterminated(2), Unterminated(3)}},
    {"event_null_data", "MRVNE_HOSTILE", Flow::Plain, {kNullStatus, kNullStatus}},
    {"event_null_data", "MRVNE_HOSTILE", Flow::Full, {kNullStatus, kNullStatus}},
    {"event_unknown_type", "MRVNE_HOSTILE", Flow::Plain, {kUnknownType}},
    {"event_unknown_type", "MRVNE_HOSTILE", Flow::Full, {kUnknownType}},
    {"endless_events", "MRVNE_HOSTILE", Flow::Plain, {kLinkEndless, kModuleEndless}},
    {"endless_events", "MRVNE_HOSTILE", Flow::Full, {kLinkEndless, kModuleEndless}},
    {"count_overrun", "MRVNE_HOSTILE", Flow::Plain, {kOverrun, " NumDataBytes         = 65536", kFinished}},
    {"count_overrun", "MRVNE_HOSTILE", Flow::Full, {kOverrun, " NumDataBytes         = 65536"}},
    {"events_after_destruct", "MRVNE_HOSTILE", Flow::Plain, {kFinished}},
    {"callback_storm", "MRVNE_HOSTILE", Flow::Plain, {kFinished}},
    {"callback_storm", "MRVNE_HOSTILE", Flow::Full, {"ItemType=PDU_IT_STATUS: Status=PDU_COPST_FINISHED."}},
    {"slow_calls", "MRVNE_HOSTILE", Flow::Plain, {kFinished}},
    {"missing_export", "MRVNE_HOSTILE_NOEVENTS", Flow::Plain,
     {"Error: PDUGetEventItem delivered no item:", "PDU_ERR_FCT_FAILED: PDU function call failed"}},
};

struct CaseRun {
    int exitCode = -1;
    std::string output;
};

CaseRun RunCase(const HostileCase& c)
{
    TempDir dir;
    const std::string script = dir.Write("script.txt", Script(c));
    // A hang is killed long after any sane end, and fails the run.
    const std::string command = "cd '" + dir.Path() + "' && env QUILLON_HOSTILE_CASE=" + c.name +
                                " QUILLON_EVENT_NAMESPACE=hostile_" + c.name + " timeout -k 5 120 " +
                                QUILLON_RUNTIME_DIR + "/quillon-cli --ini '" + dir.File("Quillon.ini") + "' --root '" +
                                QUILLON_FIXTURE_LIB_DIR + "/hostile/pdu_api_root.xml' " +
                                (c.flow == Flow::Full ? "-m1 '" : "'") + script + "' 2>&1";
    const CommandRun result = RunCommand(command);
    CaseRun run;
    run.exitCode = result.exitCode;
    run.output = result.output;
    return run;
}

class HostileLibraryTest : public ::testing::TestWithParam<HostileCase> {};

}  // namespace

TEST_P(HostileLibraryTest, BenchEndsAndSaysWhatWasWrong)
{
    const HostileCase& c = GetParam();
    const CaseRun run = RunCase(c);
    EXPECT_EQ(run.exitCode, 0) << run.output.substr(run.output.size() > 4000 ? run.output.size() - 4000 : 0);
    std::istringstream lines(run.output);
    std::string line;
    for (const std::string& row : c.rows) {
        bool found = false;
        while (!found && std::getline(lines, line)) found = line == row;
        EXPECT_TRUE(found) << "missing row: " << row;
    }
}

INSTANTIATE_TEST_SUITE_P(Cases, HostileLibraryTest, ::testing::ValuesIn(kCases),
                         [](const auto& info) {
                             return std::string(info.param.name) + (info.param.flow == Flow::Full ? "_full" : "");
                         });
