#include <gtest/gtest.h>

#include "../support/TempDir.h"
#include "root/RootFileReader.h"

namespace {

struct Result {
    std::string value, error, names, suppliers;
};

Result Read(const std::string& path, const std::string& tag, const std::string& name = "")
{
    Result r;
    r.names = name;
    r.value = ReadRootFile(path, tag, r.error, r.names, r.suppliers);
    return r;
}

const std::string kMalformedError = "Error: Could not get elements with tag \"MVCI_PDU_API\".";

}  // namespace

TEST(RootFileReader, ListModeJoinsNamesAndSuppliersByPosition)
{
    TempDir dir;
    const auto path = dir.Write("root.xml", RootFileText({{"A", "Morvane AG", "file:///a.so"},
                                                          {"B", "Other", "file:///b.so"},
                                                          {"A", "Morvane AG ", "file:///a2.so"}}));
    const Result r = Read(path, "");
    EXPECT_EQ(r.error, "");
    EXPECT_EQ(r.value, "Root description file contains 3 MVCI modules.\n");
    const std::string sep(1, kRootListSeparator);
    EXPECT_EQ(r.names, "A" + sep + "B" + sep + "A");
    EXPECT_EQ(r.suppliers, "Morvane AG" + sep + "Other" + sep + "Morvane AG ");
}

TEST(RootFileReader, FileErrors)
{
    TempDir dir;
    const struct {
        const char* name;
        const char* content;  // null: no file
        std::string expected;
    } cases[] = {
        {"missing.xml", nullptr, "Error: File " + dir.File("missing.xml") + " not found.\n"},
        {"malformed.xml", "<MVCI_PDU_API_ROOT><MVCI_PDU_API><SHORT_NAME>A</SHORT", kMalformedError},
        {"empty.xml", "", kMalformedError},
        {"nomodule.xml", "<MVCI_PDU_API_ROOT/>", kMalformedError},
        {"binary.xml", "\x01\x02\xff\xfe garbage", kMalformedError},
    };
    for (const auto& c : cases) {
        const std::string path = c.content ? dir.Write(c.name, c.content) : dir.File(c.name);
        for (const std::string tag : {"", "LIBRARY_FILE"}) {
            const Result r = Read(path, tag, "A");
            EXPECT_EQ(r.error, c.expected) << c.name;
            EXPECT_EQ(r.value, "") << c.name;
        }
    }
}

TEST(RootFileReader, PathModeReferences)
{
    TempDir dir;
    const std::string info = "Root description file contains 1 MVCI modules.\n";
    const struct {
        const char* element;
        std::string expected;
    } cases[] = {
        {"<LIBRARY_FILE URI=\"file:///opt/pdu/lib.so\"/>", "/opt/pdu/lib.so"},
        {"<LIBRARY_FILE URI=\"file://server/share/a.so\"/>", "/server/share/a.so"},
        {"<LIBRARY_FILE URI=\"C:/x/y.so\"/>", "/x/y.so"},
        {"<LIBRARY_FILE URI=\"relative/y.so\"/>", "relative/y.so"},
        {"<LIBRARY_FILE A=\"1\" URI=\"file:///p/q.so\" B=\"2\"/>", "/p/q.so"},
        {"<x:LIBRARY_FILE xmlns:x=\"urn:x\" x:URI=\"file:///p/r.so\"/>", "/p/r.so"},
        // no usable URI: what remains is the name of the last attribute
        {"<LIBRARY_FILE NAME=\"file:///p/q.so\" KIND=\"so\"/>", "KIND"},
        {"<LIBRARY_FILE A=\"1\" URI=\"\"/>", ""},
        {"<LIBRARY_FILE URI=\"\" B=\"2\"/>", "B"},
        // no attributes at all, or no such element: the informational text
        {"<LIBRARY_FILE/>", info},
        {"<OTHER_FILE URI=\"file:///p/q.so\"/>", info},
    };
    for (const auto& c : cases) {
        const std::string xml = std::string("<R><MVCI_PDU_API><SHORT_NAME>A</SHORT_NAME>") + c.element +
                                "</MVCI_PDU_API></R>";
        const Result r = Read(dir.Write("root.xml", xml), "LIBRARY_FILE", "A");
        EXPECT_EQ(r.error, "") << c.element;
        EXPECT_EQ(r.value, c.expected) << c.element;
    }
}

TEST(RootFileReader, PathModeFindsTheFirstEqualNameThatHasTheTag)
{
    TempDir dir;
    const auto path = dir.Write("root.xml", RootFileText({{"A", "S", ""},
                                                          {"a", "S", "file:///lower.so"},
                                                          {"A", "S", "file:///second.so"},
                                                          {"A", "S", "file:///third.so"}}));
    EXPECT_EQ(Read(path, "LIBRARY_FILE", "A").value, "/second.so");
    EXPECT_EQ(Read(path, "LIBRARY_FILE", "a").value, "/lower.so");
    EXPECT_EQ(Read(path, "LIBRARY_FILE", "B").value, "Root description file contains 4 MVCI modules.\n");
}

TEST(RootFileReader, UriRulesOfBothPlatforms)
{
    const struct {
        const char* uri;
        const char* windows;
        const char* posix;
    } cases[] = {
        {"file:///C:/x/y.dll", "C:\\x\\y.dll", "/C:/x/y.dll"},
        {"file://server/share/a.dll", "server\\share\\a.dll", "/server/share/a.dll"},
        {"C:/x/y.dll", "x\\y.dll", "/x/y.dll"},
        {"abc", "bc", "abc"},
        {"", "", ""},
        {"file:", "", ""},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(RootUriToPath(c.uri, true), c.windows) << c.uri;
        EXPECT_EQ(RootUriToPath(c.uri, false), c.posix) << c.uri;
    }
}

TEST(RootFileReader, DeepNestingReadsInDocumentOrder)
{
    // Names and modules found at any depth, in document order, and a name's text gathered from
    // every level below it; nested deeper than a recursive walk's stack would take.
    constexpr int kDepth = 300000;
    std::string deep;
    for (int i = 0; i < kDepth; ++i) deep += "<x>";
    deep += "B";
    for (int i = 0; i < kDepth; ++i) deep += "</x>";
    TempDir dir;
    const auto path = dir.Write("deep.xml", "<MVCI_PDU_API_ROOT><MVCI_PDU_API><SHORT_NAME>A<i>1</i>2</SHORT_NAME>"
                                            "<SUPPLIER_NAME>S</SUPPLIER_NAME></MVCI_PDU_API><MVCI_PDU_API>"
                                            "<SHORT_NAME>" + deep + "</SHORT_NAME><LIBRARY_FILE URI=\"file:///b.so\"/>"
                                            "</MVCI_PDU_API></MVCI_PDU_API_ROOT>");
    const Result list = Read(path, "");
    EXPECT_EQ(list.value, "Root description file contains 2 MVCI modules.\n");
    EXPECT_EQ(list.names, "A12" + std::string(1, kRootListSeparator) + "B");
    EXPECT_EQ(Read(path, "LIBRARY_FILE", "B").value, "/b.so");
}
