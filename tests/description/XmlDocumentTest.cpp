#include <gtest/gtest.h>

#include <string>

#include "TestFiles.h"
#include "description/MDF_Parser.h"
#include "description/XmlDocument.h"

namespace {

struct LoadCase {
    const char* name;
    std::string text;
    bool loads;
};

// UTF-16 of an ASCII text, with a byte order mark.
std::string Wide(const std::string& ascii, bool bigEndian)
{
    std::string out = bigEndian ? std::string("\xFE\xFF", 2) : std::string("\xFF\xFE", 2);
    for (char c : ascii) {
        const char pair[2] = {bigEndian ? '\0' : c, bigEndian ? c : '\0'};
        out.append(pair, 2);
    }
    return out;
}

TEST(XmlDocument, LoadsOnlyWellFormedFiles)
{
    const LoadCase cases[] = {
        // Well-formed, in the forms a description file may take.
        {"plain", "<R><A x='1'>t</A></R>", true},
        {"declaration and blanks", "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\r\n<R/>\n\t ", true},
        {"byte order mark", "\xEF\xBB\xBF<R/>", true},
        {"comments and instructions outside", "<!-- a & b <R> --><?pi & x?><R/><!-- end --><?pi?>", true},
        {"predefined and character references", "<R a='&lt;&gt;&amp;&apos;&quot;&#65;&#x1F600;'>&amp;&#10;&#xD7FF;</R>",
         true},
        {"ampersand in CDATA and comment", "<R><![CDATA[a & b &foo;]]><!-- &bar; --></R>", true},
        {"markup characters in attribute values", "<R a='x>/y' b=\"'&amp;'\"/>", true},
        {"declared prefixes", "<p:R xmlns:p='urn:p'><q:A xmlns:q='urn:q' q:b='1' p:c='2'/><p:B/></p:R>", true},
        {"xml and xmlns prefixes", "<R xml:lang='en' xmlns='urn:d' xmlns:xml='http://www.w3.org/XML/1998/namespace'/>",
         true},
        {"one name under two prefixes of other namespaces", "<R xmlns:a='urn:a' xmlns:b='urn:b' a:x='1' b:x='2' x='3'/>",
         true},
        {"prefix redeclared below", "<R xmlns:p='urn:1'><p:A xmlns:p='urn:2'/><p:B/></R>", true},
        {"DOCTYPE without entities", "<!DOCTYPE R [<!ELEMENT R ANY><!-- ] > --><!ATTLIST R a CDATA '>'>]><R/>", true},
        {"UTF-16 little endian", Wide("<R a='&amp;'>x</R>", false), true},
        {"UTF-16 big endian", Wide("<p:R xmlns:p='u'/>", true), true},

        // Not well-formed, though pugixml alone takes each of them.
        {"second root element", "<R/><S/>", false},
        {"second root after content", "<R><A/></R>\n<R><A/></R>", false},
        {"text after the root", "<R/>x", false},
        {"text before the root", "x<R/>", false},
        {"reference after the root", "<R/>&amp;", false},
        {"CDATA after the root", "<R/><![CDATA[x]]>", false},
        {"undefined entity in text", "<R>&foo;</R>", false},
        {"undefined entity in an attribute", "<R a='&nbsp;'/>", false},
        {"entity declared in the DOCTYPE", "<!DOCTYPE R [<!ENTITY e 'x'>]><R>&e;</R>", false},
        {"bare ampersand", "<R>a & b</R>", false},
        {"reference without semicolon", "<R>&amp</R>", false},
        {"empty character reference", "<R>&#;</R>", false},
        {"character reference to NUL", "<R>&#0;</R>", false},
        {"character reference past Unicode", "<R>&#x110000;</R>", false},
        {"huge character reference", "<R>&#99999999999999999999;</R>", false},
        {"duplicated attribute", "<R><A x='1' x='2'/></R>", false},
        {"one attribute twice by namespace", "<R xmlns:a='urn:s' xmlns:b='urn:s' a:x='1' b:x='2'/>", false},
        {"duplicated declaration", "<R xmlns:a='urn:s' xmlns:a='urn:t'/>", false},
        {"undeclared element prefix", "<p:R/>", false},
        {"undeclared nested element prefix", "<R><p:A/></R>", false},
        {"undeclared attribute prefix", "<R p:a='1'/>", false},
        {"prefix out of scope", "<R><A xmlns:p='urn:p'/><p:B/></R>", false},
        {"prefix undeclared by an empty value", "<R xmlns:p=''><p:A/></R>", false},
        {"xml prefix bound elsewhere", "<R xmlns:xml='urn:x'/>", false},
        {"empty prefix", "<R :a='1'/>", false},
        {"empty local name", "<R xmlns:p='u'><p:/></R>", false},
        {"two colons", "<R xmlns:p='u'><p:a:b/></R>", false},
        {"UTF-16 with a second root", Wide("<R/><S/>", false), false},
        {"UTF-16 with an undefined entity", Wide("<R>&foo;</R>", true), false},

        // Refused before as now.
        {"empty", "", false},
        {"unclosed", "<R><A></R>", false},
    };
    for (const LoadCase& c : cases) {
        SCOPED_TRACE(c.name);
        TempFile f(c.text);
        XmlDocument doc;
        EXPECT_EQ(doc.Load(f.path()), c.loads);
        EXPECT_EQ(static_cast<bool>(doc.Root()), c.loads);
    }
}

TEST(XmlDocument, MdfLoadRefusesAFileThatIsNotWellFormed)
{
    const std::string body = "<MVCI_MODULE_DESCRIPTION><MODULETYPE><ID>1</ID><SHORT_NAME>M</SHORT_NAME>"
                             "</MODULETYPE></MVCI_MODULE_DESCRIPTION>";
    TempFile good(body);
    TempFile twoRoots(body + body);
    MDF_Parser parser;
    EXPECT_TRUE(parser.Load(good.path()));
    EXPECT_FALSE(parser.Load(twoRoots.path()));
}

TEST(XmlDocument, CheckStaysFlatOnDeepAndWideFiles)
{
    // Nesting deeper than any stack and many prefixes in scope at once.
    std::string deep = "<R xmlns:p='urn:p'>";
    for (int i = 0; i < 100000; ++i)
        deep += "<p:A xmlns:q" + std::to_string(i) + "='u' p:x='1' x='2'>";
    for (int i = 0; i < 100000; ++i)
        deep += "</p:A>";
    deep += "</R>";
    TempFile f(deep);
    XmlDocument doc;
    EXPECT_TRUE(doc.Load(f.path()));
}

} // namespace
