// The DoIP monitor window against Wireshark's own DoIP dissector: the loopback traffic of the
// doip_live script, captured with tshark, must hold the frames the window showed, in the same
// order, with the same payload types and addresses. Where capturing is not permitted the test
// says so and is skipped.
#include <gtest/gtest.h>

#include <cstdlib>
#include <regex>
#include <sstream>

#include "../support/TempDir.h"

namespace {

struct Frame {
    unsigned type = 0;
    int source = -1;  // the low byte only: the window leaves the payload's first byte out
    int target = -1;
    bool operator==(const Frame&) const = default;
};

std::ostream& operator<<(std::ostream& out, const Frame& f)
{
    return out << std::hex << "type 0x" << f.type << " source 0x" << f.source << " target 0x" << f.target;
}

bool Addressed(unsigned type) { return type >= 0x8001 && type <= 0x8003; }

// "PayloadType: 0x8001" rows, each with the "Data:" row after it: bytes 1 and 2-3 of the
// payload are the source's low byte and the target.
std::vector<Frame> WindowFrames(const std::string& output)
{
    std::vector<Frame> frames;
    std::istringstream in(output);
    const std::regex payload("PayloadType: 0x([0-9a-f]+)"), data("Data: +0x([0-9a-f]+) 0x([0-9a-f]+) 0x([0-9a-f]+)");
    std::smatch match;
    for (std::string line; std::getline(in, line);) {
        if (std::regex_search(line, match, payload)) {
            frames.push_back({static_cast<unsigned>(std::stoul(match[1], nullptr, 16))});
        } else if (!frames.empty() && Addressed(frames.back().type) && frames.back().source < 0 &&
                   std::regex_search(line, match, data)) {
            frames.back().source = std::stoi(match[1], nullptr, 16);
            frames.back().target = std::stoi(match[2], nullptr, 16) << 8 | std::stoi(match[3], nullptr, 16);
        }
    }
    return frames;
}

// tshark's fields: "0x8001\t0x0e00\t0x1001".
std::vector<Frame> CapturedFrames(const std::string& fields)
{
    std::vector<Frame> frames;
    std::istringstream in(fields);
    for (std::string line; std::getline(in, line);) {
        std::vector<std::string> cells;
        std::istringstream row(line);
        for (std::string cell; std::getline(row, cell, '\t');) cells.push_back(cell);
        if (cells.empty() || cells[0].empty()) continue;
        Frame f{static_cast<unsigned>(std::stoul(cells[0], nullptr, 16))};
        if (Addressed(f.type) && cells.size() >= 3) {
            f.source = static_cast<int>(std::stoul(cells[1], nullptr, 16) & 0xff);
            f.target = static_cast<int>(std::stoul(cells[2], nullptr, 16));
        }
        frames.push_back(f);
    }
    return frames;
}

}  // namespace

TEST(DoIpCaptureTest, TsharkDecodesWhatTheMonitorWindowShows)
{
    if (std::system("command -v tshark >/dev/null 2>&1") != 0)
        GTEST_SKIP() << "tshark is not installed (scripts/install-deps.sh installs it): the capture is not compared";
    TempDir dir;
    const std::string script = std::string(QUILLON_SOURCE_DIR) + "/tests/headless/scripts/doip_live.txt";
    // Exit 77: the capture did not start (no permission to capture on lo).
    const std::string run = R"(cd ')" + dir.Path() + R"(' || exit 1
tshark -i lo -f "port 13400" -w cap.pcap -a duration:120 2>tshark.err &
capture=$!
for i in $(seq 100); do grep -q "Capturing on" tshark.err && break; kill -0 $capture 2>/dev/null || break; sleep 0.1; done
grep -q "Capturing on" tshark.err || { cat tshark.err >&2; kill $capture 2>/dev/null; exit 77; }
env -u PDUSIM_FAULTS -u PDUSIM_MODULES PDUSIM_DOIP_ADDR=127.45.0.2 QUILLON_EVENT_NAMESPACE=capture ')" +
                            QUILLON_RUNTIME_DIR + "/quillon-cli' --ini Quillon.ini --root '" + QUILLON_RUNTIME_DIR +
                            "/pdu_api_root.xml' -m1 '" + script + R"(' > window.txt 2>&1
sleep 0.5
kill -INT $capture; wait $capture
tshark -r cap.pcap -Y doip -T fields -e doip.type -e doip.source_address -e doip.target_address > fields.txt 2>/dev/null
)";
    const int status = std::system(dir.Write("capture.sh", run).insert(0, "bash ").c_str());
    if (WIFEXITED(status) && WEXITSTATUS(status) == 77)
        GTEST_SKIP() << "capturing on the loopback interface is not permitted here: " << ReadWholeFile(dir.File("tshark.err"));
    ASSERT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0) << ReadWholeFile(dir.File("tshark.err"));

    const std::vector<Frame> shown = WindowFrames(ReadWholeFile(dir.File("window.txt")));
    const std::vector<Frame> captured = CapturedFrames(ReadWholeFile(dir.File("fields.txt")));
    // A request over TCP, then the dialog's five questions over UDP, each with its answer.
    ASSERT_EQ(shown.size(), 11u) << ReadWholeFile(dir.File("window.txt"));
    EXPECT_EQ(captured, shown);
}
