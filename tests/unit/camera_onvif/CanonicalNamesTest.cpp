#include "camera/onvif/CanonicalNames.h"

#include <gmock/gmock.h>

namespace camera::onvif {
namespace {

using testing::HasSubstr;

const std::string kTt = "xmlns:tt=\"http://www.onvif.org/ver10/schema\"";
const std::string kRoot = "tt:Rule";

std::string rewritten(const std::string& text)
{
    return canonicalDocument(text, kRoot);
}

struct Refused {
    std::string what = "accepted";
    std::size_t line = 0;
    std::size_t column = 0;
};

Refused refused(const std::string& text)
{
    try {
        rewritten(text);
    } catch (const XmlRefusal& refusal) {
        return {refusal.what(), refusal.line, refusal.column};
    }
    return {};
}

TEST(CanonicalNames, leavesACanonicalDocumentAsItIs)
{
    const std::string text = "<tt:Rule " + kTt + " Name=\"a\" Type=\"tt:X\"><tt:Parameters/></tt:Rule>";
    EXPECT_EQ(text, rewritten(text));
}

TEST(CanonicalNames, replacesAnotherPrefixOfTheSameNamespace)
{
    EXPECT_EQ("<tt:Rule " + kTt + " Type=\"tt:X\"><tt:Parameters/></tt:Rule>",
              rewritten("<o:Rule xmlns:o='http://www.onvif.org/ver10/schema' Type='o:X'><o:Parameters/></o:Rule>"));
}

TEST(CanonicalNames, givesTheDefaultNamespaceItsPrefixInNamesAndTypes)
{
    EXPECT_EQ("<tt:Rule " + kTt + " Type=\"tt:X\" Name=\"X\"><tt:Parameters/></tt:Rule>",
              rewritten("<Rule xmlns='http://www.onvif.org/ver10/schema' Type='X' Name='X'><Parameters/></Rule>"));
}

TEST(CanonicalNames, resolvesATypeByTheDeclarationOnItsOwnElement)
{
    EXPECT_EQ("<tt:Rule " + kTt + " Type=\"tt:LineDetector\"/>",
              rewritten("<tt:Rule xmlns:tt='http://www.onvif.org/ver10/schema' "
                        "xmlns:ns1='http://www.onvif.org/ver10/schema' Type='ns1:LineDetector'/>"));
}

TEST(CanonicalNames, followsDeclarationsThatAreOverriddenFurtherIn)
{
    EXPECT_EQ("<tt:Rule " + kTt +
                  " xmlns:vca=\"urn:x-virtual-camera:analytics\"><vca:A/><tt:B><vca:C/></tt:B><tt:D/></tt:Rule>",
              rewritten("<p:Rule xmlns:p='http://www.onvif.org/ver10/schema'>"
                        "<p:A xmlns:p='urn:x-virtual-camera:analytics'/>"
                        "<p:B xmlns:q='urn:x-virtual-camera:analytics'><q:C/></p:B><p:D/></p:Rule>"));
}

TEST(CanonicalNames, knowsEveryNamespaceOfTheService)
{
    EXPECT_EQ(
        "<tt:Rule xmlns:axt=\"http://www.onvif.org/ver20/analytics\" "
        "xmlns:tns1=\"http://www.onvif.org/ver10/topics\" " +
            kTt +
            " xmlns:xs=\"http://www.w3.org/2001/XMLSchema\" "
            "xmlns:xsi=\"http://www.w3.org/2001/XMLSchema-instance\">"
            "<axt:M/><tns1:T/><tt:A xsi:type=\"xs:string\"/></tt:Rule>",
        rewritten("<a:Rule xmlns:a='http://www.onvif.org/ver10/schema' xmlns:b='http://www.onvif.org/ver20/analytics' "
                  "xmlns:c='http://www.onvif.org/ver10/topics' xmlns:d='http://www.w3.org/2001/XMLSchema' "
                  "xmlns:e='http://www.w3.org/2001/XMLSchema-instance'>"
                  "<b:M/><c:T/><a:A e:type='d:string'/></a:Rule>"));
}

TEST(CanonicalNames, declaresUsualPrefixesThatNobodyDeclared)
{
    EXPECT_EQ("<tt:Rule xmlns:axt=\"http://www.onvif.org/ver20/analytics\" " + kTt + "><axt:M/></tt:Rule>",
              rewritten("<tt:Rule><axt:M/></tt:Rule>"));
}

TEST(CanonicalNames, letsForeignElementsCarryTheirOwnDeclaration)
{
    EXPECT_EQ(
        "<tt:Rule " + kTt +
            " Type=\"m:Mine\" xmlns:m=\"urn:mine\"><tt:Parameters><m:Thing xmlns:m=\"urn:mine\"/>"
            "</tt:Parameters></tt:Rule>",
        rewritten("<tt:Rule xmlns:m='urn:mine' Type='m:Mine'><tt:Parameters><m:Thing/></tt:Parameters></tt:Rule>"));
}

TEST(CanonicalNames, keepsOutOfACarriedDefaultWhatItsAuthorTookOutOfIt)
{
    const std::string begin = "<tt:Rule " + kTt + "><a xmlns=\"urn:mine\">";
    const std::string end = "</a><f/></tt:Rule>";
    const std::string text = begin + "<b xmlns=\"\"><c/></b><d xmlns=\"urn:mine\"/>" + end;
    EXPECT_EQ(text, rewritten(begin + "<b xmlns=''><c/></b><d/>" + end));
    EXPECT_EQ(text, rewritten(text));
    EXPECT_EQ("<tt:Rule " + kTt + "><tt:a><b/></tt:a></tt:Rule>",
              rewritten("<tt:Rule><a xmlns='http://www.onvif.org/ver10/schema'><b xmlns=''/></a></tt:Rule>"));
}

TEST(CanonicalNames, refusesAPrefixForTheEmptyNamespace)
{
    EXPECT_EQ("the element 'tt:Rule' declares 'xmlns:m' as an empty namespace; only xmlns may be empty",
              refused("<tt:Rule " + kTt + " xmlns:m=''/>").what);
}

TEST(CanonicalNames, keepsTextAttributesAndCommentsOutOfIt)
{
    EXPECT_EQ("<tt:Rule " + kTt + " Name=\"o:not a &lt;name>\"><tt:A>o:text &amp; more</tt:A></tt:Rule>",
              rewritten("<?xml version='1.0'?><!-- o:B -->\n<o:Rule xmlns:o='http://www.onvif.org/ver10/schema' "
                        "Name='o:not a &lt;name&gt;'>\n  <o:A>o:text &amp; more</o:A>\n</o:Rule>\n"));
}

TEST(CanonicalNames, acceptsAByteOrderMark)
{
    EXPECT_EQ("<tt:Rule " + kTt + "/>", rewritten("\xEF\xBB\xBF<tt:Rule/>"));
}

TEST(CanonicalNames, survivesDeepNesting)
{
    std::string text = "<tt:Rule>";
    for (int i = 0; i < 20000; ++i) {
        text += "<tt:A>";
    }
    for (int i = 0; i < 20000; ++i) {
        text += "</tt:A>";
    }
    EXPECT_GT(rewritten(text + "</tt:Rule>").size(), text.size());
}

TEST(CanonicalNames, refusesWhatIsNoXmlWithLineAndColumn)
{
    const Refused open = refused("<tt:Rule>\n  <tt:A>\n</tt:Rule>");
    EXPECT_THAT(open.what, HasSubstr("this is no well-formed XML: "));
    EXPECT_EQ(3U, open.line);
    EXPECT_GE(open.column, 1U);
    EXPECT_THAT(refused("").what, HasSubstr("no"));
    EXPECT_THAT(refused("plain text").what, HasSubstr("no"));
    EXPECT_NE("accepted", refused("<!-- only a comment -->").what);
}

TEST(CanonicalNames, refusesAnUndeclaredPrefixNamingTheElement)
{
    const Refused element = refused("<tt:Rule>\n   <foo:Bar/></tt:Rule>");
    EXPECT_EQ("the element 'foo:Bar' uses the prefix 'foo', which stands for no namespace; declare it with "
              "xmlns:foo=\"...\"",
              element.what);
    EXPECT_EQ(2U, element.line);
    EXPECT_EQ(5U, element.column);
    EXPECT_EQ(70011U, refused("<tt:Rule>" + std::string(70000, ' ') + "<foo:Bar/></tt:Rule>").column);
    EXPECT_THAT(refused("<tt:Rule Type='foo:X'/>").what, HasSubstr("the element 'tt:Rule' uses the prefix 'foo'"));
    EXPECT_THAT(refused("<tt:Rule foo:x='1'/>").what, HasSubstr("the element 'tt:Rule' uses the prefix 'foo'"));
}

TEST(CanonicalNames, aDeclarationEndsWithItsElement)
{
    EXPECT_THAT(refused("<tt:Rule><tt:A xmlns:m='urn:m'><m:B/></tt:A><m:C/></tt:Rule>").what,
                HasSubstr("the element 'm:C'"));
}

TEST(CanonicalNames, refusesAUsualPrefixThatStandsForSomethingElse)
{
    EXPECT_THAT(refused("<tt:Rule xmlns:tt='urn:other'/>").what,
                HasSubstr("the element 'tt:Rule' uses the prefix 'tt' for 'urn:other', but it is kept for "
                          "'http://www.onvif.org/ver10/schema'"));
}

TEST(CanonicalNames, refusesAnotherRootNamingIt)
{
    EXPECT_EQ("its root element is 'o:Module', but a configuration's is 'tt:Rule'",
              refused("<o:Module xmlns:o='http://www.onvif.org/ver10/schema'/>").what);
    EXPECT_THAT(refused("<Rule/>").what, HasSubstr("its root element is 'Rule'"));
    EXPECT_THAT(refused("<Rule xmlns='urn:other'/>").what, HasSubstr("its root element is 'Rule'"));
}

TEST(CanonicalNames, refusesADocumentType)
{
    EXPECT_EQ("a DOCTYPE is not accepted", refused("<!DOCTYPE a [<!ENTITY b 'c'>]><tt:Rule/>").what);
}

} // namespace
} // namespace camera::onvif
