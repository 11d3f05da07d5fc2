#include <gtest/gtest.h>

#include <pugixml.hpp>
#include <random>
#include <sstream>

#include "TestFiles.h"
#include "description/CDF_Parser.h"
#include "description/MdfTableConversion.h"

namespace {

// Runs everything the main dialog runs on a file; only the absence of crashes, hangs and
// sanitizer reports is checked. True when the file got as far as the tables.
bool ReadAsMdf(const std::string& path)
{
    MDF_Parser parser;
    if (!parser.Load(path) || !parser.Parse() || !parser.FixReferences())
        return false;
    DescriptionTables tables;
    size_t lines = 0;
    ConvertMdfTables(parser, tables, [&lines](const std::string&) { ++lines; });
    parser.Clear();
    return true;
}

bool ReadAsCdf(const std::string& path)
{
    CDF_Parser cdf;
    if (!cdf.Load(path) || !cdf.Parse())
        return false;
    for (uint32_t id : cdf.GetCableIds()) {
        CableInfo* c = cdf.FindCable(id);
        if (!c)
            ADD_FAILURE() << "known id without a record";
        if (!c)
            return false;
        for (uint32_t pin = 0; pin < 20; ++pin)
            if (c->HasModulePin(pin))
                c->GetDlcPin(pin);
    }
    return true;
}

std::string Mutate(std::string text, std::mt19937& rng)
{
    static const char* const kPieces[] = {"<", ">", "</", "/>", "\"", "&amp;", "<![CDATA[", "]]>", "0x", "-",
        "99999999999999999999", " ", ",", "(", ")", "<PIN_ON_MODULE>", "<COMPARAM_REF>", "<DEFAULT_VALUE>",
        "EID=\"x\"", "IDREF=\"\"", "\xff\xfe", "<CABLE_ID>", "<MAPPING>", "4000000000"};
    const int edits = 1 + static_cast<int>(rng() % 8);
    for (int e = 0; e < edits && !text.empty(); ++e) {
        const size_t at = rng() % text.size();
        switch (rng() % 5) {
        case 0: text[at] = static_cast<char>(rng()); break;
        case 1: text.erase(at, 1 + rng() % 64); break;
        case 2: text.insert(at, kPieces[rng() % std::size(kPieces)]); break;
        case 3: { // duplicate a stretch
            const size_t len = std::min<size_t>(1 + rng() % 400, text.size() - at);
            text.insert(rng() % text.size(), text.substr(at, len));
            break;
        }
        default: text.resize(at); break; // truncate
        }
    }
    return text;
}

void CollectNodes(pugi::xml_node node, std::vector<pugi::xml_node>& out)
{
    for (pugi::xml_node c = node.first_child(); c; c = c.next_sibling()) {
        out.push_back(c);
        CollectNodes(c, out);
    }
}

// Well-formed mutants: elements dropped, copied, moved, renamed; texts and attributes changed.
// These get past the loader and into the parsers' rules.
std::string MutateTree(const std::string& text, std::mt19937& rng)
{
    static const char* const kNames[] = {"ID", "SHORT_NAME", "EID", "IDREF", "PIN_ON_MODULE", "PINTYPE", "RESOURCE",
        "BUSTYPE", "PROTOCOL", "COMPARAM", "COMPARAM_REF", "DEFAULT_VALUE", "DATA_TYPE", "CLASS", "MODULETYPE",
        "ERROR_CODE", "CABLE", "CABLE_ID", "CABLE_IDENTIFICATION", "MAPPING", "PIN_ON_DLC", "DLCTYPE", "X"};
    static const char* const kTexts[] = {"", "0", "-1", "0x", "4294967296", "99999999999999999999", "PDU_PT_BYTEFIELD",
        "PDU_PT_STRUCTFIELD", "PDU_PT_LONGFIELD", "1 10 2 (1 2 3 4 5 )(6 7 8 9", "12 300 1 2", "255 255 255",
        "2 300 5 (1,2,3,4,5,6)", "TIMING", "abc", "  7  ", "1 4000000000"};
    pugi::xml_document doc;
    if (!doc.load_string(text.c_str()))
        return text;
    const int edits = 1 + static_cast<int>(rng() % 6);
    for (int e = 0; e < edits; ++e) {
        std::vector<pugi::xml_node> nodes;
        CollectNodes(doc.document_element(), nodes);
        if (nodes.empty())
            break;
        pugi::xml_node n = nodes[rng() % nodes.size()];
        pugi::xml_node other = nodes[rng() % nodes.size()];
        switch (rng() % 7) {
        case 0: n.parent().remove_child(n); break;
        case 1: other.parent().insert_copy_after(n, other); break;
        case 2:
            if (n.type() == pugi::node_element && other.type() == pugi::node_element)
                other.append_copy(n); // wrong nesting
            break;
        case 3:
            if (n.type() == pugi::node_element)
                n.set_name(kNames[rng() % std::size(kNames)]);
            break;
        case 4:
            if (n.type() == pugi::node_pcdata)
                n.set_value(kTexts[rng() % std::size(kTexts)]);
            else if (n.type() == pugi::node_element)
                n.text().set(kTexts[rng() % std::size(kTexts)]);
            break;
        case 5:
            if (n.type() == pugi::node_element)
                n.prepend_attribute(kNames[rng() % std::size(kNames)]).set_value(kTexts[rng() % std::size(kTexts)]);
            break;
        default:
            if (n.first_attribute())
                n.remove_attribute(n.first_attribute());
            break;
        }
    }
    std::ostringstream out;
    doc.save(out);
    return out.str();
}

} // namespace

TEST(Robustness, RandomMutationsOfTheFixtures)
{
    std::mt19937 rng(22900);
    const char* const seeds[] = {"mdf_rules.xml", "cdf_rules.xml", "cdf_realistic.xml", "mdf_realistic.xml"};
    for (const char* seed : seeds) {
        const std::string original = ReadFile(FixturePath(seed));
        ASSERT_FALSE(original.empty()) << seed;
        const int rounds = std::string(seed) == "mdf_realistic.xml" ? 40 : 150;
        int read = 0;
        for (int i = 0; i < rounds; ++i) {
            TempFile f(i % 2 ? Mutate(original, rng) : MutateTree(original, rng));
            read += ReadAsMdf(f.path()) ? 1 : 0;
            read += ReadAsCdf(f.path()) ? 1 : 0;
        }
        // Enough mutants must stay well-formed to reach the parsers' rules, not just the loader.
        EXPECT_GT(read, rounds / 3) << seed;
    }
}

TEST(Robustness, HostileFiles)
{
    std::mt19937 rng(7);
    std::string noise(10 * 1024 * 1024, '\0');
    for (char& c : noise)
        c = static_cast<char>(rng());

    std::string deep = "<MVCI_MODULE_DESCRIPTION><COMPARAM EID=\"a\"><ID>";
    for (int i = 0; i < 200000; ++i)
        deep += "<X>";
    deep += "1";
    for (int i = 0; i < 200000; ++i)
        deep += "</X>";
    deep += "</ID></COMPARAM>" + std::string("<MODULETYPE><ID>1</ID><SHORT_NAME>M</SHORT_NAME></MODULETYPE>")
        + "</MVCI_MODULE_DESCRIPTION>";

    std::string wide = "<MVCI_MODULE_DESCRIPTION><MODULETYPE><ID>1</ID><SHORT_NAME>M</SHORT_NAME></MODULETYPE>";
    for (int i = 0; i < 20000; ++i)
        wide += "<COMPARAM EID='c" + std::to_string(i) + "'><ID>" + std::to_string(i)
            + "</ID><SHORT_NAME>n</SHORT_NAME><DATA_TYPE>PDU_PT_BYTEFIELD</DATA_TYPE><CLASS>COM</CLASS>"
              "<DEFAULT_VALUE>4294967295 4294967295 1 2 3</DEFAULT_VALUE></COMPARAM>";
    wide += "</MVCI_MODULE_DESCRIPTION>";

    std::string bigText = "<MVCI_MODULE_DESCRIPTION><MODULETYPE><ID>1</ID><SHORT_NAME>M</SHORT_NAME></MODULETYPE>"
                          "<COMPARAM EID='c'><ID>1</ID><SHORT_NAME>n</SHORT_NAME><DATA_TYPE>PDU_PT_LONGFIELD</DATA_TYPE>"
                          "<CLASS>COM</CLASS><DEFAULT_VALUE>1000000 1000000";
    for (int i = 0; i < 1000000; ++i)
        bigText += " 0xFFFFFFFF";
    bigText += "</DEFAULT_VALUE></COMPARAM></MVCI_MODULE_DESCRIPTION>";

    const std::string cases[] = {
        "",
        " ",
        noise,
        std::string(10 * 1024 * 1024, '<'),
        deep,
        wide,
        bigText,
        "<MVCI_MODULE_DESCRIPTION><ERROR_CODE><ID>" + std::string(100000, '9') + "</ID></ERROR_CODE>",
        "<MVCI_CABLE_DESCRIPTION><CABLE><CABLE_IDENTIFICATION><CABLE_ID>-99999999999</CABLE_ID>"
        "</CABLE_IDENTIFICATION><MAPPING><PIN_ON_DLC>4294967296</PIN_ON_DLC><PIN_ON_MODULE>-1</PIN_ON_MODULE>"
        "</MAPPING></CABLE></MVCI_CABLE_DESCRIPTION>",
        "\xef\xbb\xbf<MVCI_MODULE_DESCRIPTION><RESOURCE/><PROTOCOL/><BUSTYPE/><COMPARAM/><PINTYPE/><MODULETYPE/>"
        "<ERROR_CODE/></MVCI_MODULE_DESCRIPTION>",
    };
    for (const std::string& content : cases) {
        TempFile f(content);
        ReadAsMdf(f.path());
        ReadAsCdf(f.path());
    }
}

TEST(Robustness, LargeLengthsInADefaultAreRefused)
{
    // A length of 4294967295 must not allocate 4 GB; the value is reported and left empty.
    TempFile f("<R><MODULETYPE><ID>1</ID><SHORT_NAME>M</SHORT_NAME></MODULETYPE><COMPARAM EID='c'><ID>1</ID>"
               "<SHORT_NAME>n</SHORT_NAME><DATA_TYPE>PDU_PT_LONGFIELD</DATA_TYPE><CLASS>COM</CLASS>"
               "<DEFAULT_VALUE>5 4294967295 1</DEFAULT_VALUE></COMPARAM></R>");
    MDF_Parser parser;
    ASSERT_TRUE(parser.Load(f.path()) && parser.Parse() && parser.FixReferences());
    DescriptionTables t;
    std::vector<std::string> log;
    ASSERT_TRUE(ConvertMdfTables(parser, t, [&log](const std::string& s) { log.push_back(s); }));
    ASSERT_EQ(t.comParams.size(), 1u);
    EXPECT_EQ(t.comParams[0].value, nullptr);
    EXPECT_EQ(log.size(), 1u);
}
