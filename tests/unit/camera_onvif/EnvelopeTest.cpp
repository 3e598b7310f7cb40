#include "camera/onvif/Envelope.h"

#include "camera/onvif/CanonicalNames.h"
#include "camera/onvif/Fault.h"
#include "camera/onvif/XmlText.h"

#include <gmock/gmock.h>

#include <optional>

namespace camera::onvif {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

const std::string kSoap = "http://www.w3.org/2003/05/soap-envelope";

std::string message(const std::string& body, const std::string& header = "")
{
    return "<s:Envelope xmlns:s='" + kSoap + "'>" + (header.empty() ? "" : "<s:Header>" + header + "</s:Header>") +
           "<s:Body>" + body + "</s:Body></s:Envelope>";
}

std::optional<Fault> faultOf(const std::string& text)
{
    try {
        const Envelope envelope(text);
    } catch (const Fault& fault) {
        return fault;
    }
    return std::nullopt;
}

std::string reasonOf(const std::string& text)
{
    const auto fault = faultOf(text);
    return fault ? fault->what() : "accepted";
}

TEST(EnvelopeTest, namesTheOperationWithOurPrefixWhateverTheClientCallsIt)
{
    const std::string uri = "http://www.onvif.org/ver10/device/wsdl";
    EXPECT_EQ("tds:GetUsers", Envelope(message("<GetUsers xmlns='" + uri + "'/>")).operation());
    EXPECT_EQ("tds:GetUsers", Envelope(message("<a:GetUsers xmlns:a='" + uri + "'/>")).operation());
    EXPECT_EQ("tr2:GetProfiles",
              Envelope(message("<trt:GetProfiles xmlns:trt='http://www.onvif.org/ver20/media/wsdl'/>")).operation());
}

TEST(EnvelopeTest, takesTheOtherNameOfTheAnalyticsService)
{
    EXPECT_EQ("tan:GetRules",
              Envelope(message("<GetRules xmlns='http://www.onvif.org/ver10/analytics'/>")).operation());
}

TEST(EnvelopeTest, rewritesNamesThatStandInValuesAndTexts)
{
    const Envelope envelope(message("<x:GetRuleOptions xmlns:x='http://www.onvif.org/ver20/analytics/wsdl' "
                                    "xmlns:o='http://www.onvif.org/ver10/schema'><x:RuleType> o:LineDetector\n"
                                    "</x:RuleType><o:Rule Type='o:A'/></x:GetRuleOptions>"));
    EXPECT_EQ("<tan:GetRuleOptions><tan:RuleType>tt:LineDetector</tan:RuleType><tt:Rule Type=\"tt:A\"/>"
              "</tan:GetRuleOptions>",
              printed(envelope.request()));
}

TEST(EnvelopeTest, leavesTheTypeOfAPasswordAsItIs)
{
    const Envelope envelope(message(
        "<GetUsers xmlns='http://www.onvif.org/ver10/device/wsdl'/>",
        "<Security xmlns='http://docs.oasis-open.org/wss/2004/01/oasis-200401-wss-wssecurity-secext-1.0.xsd'>"
        "<UsernameToken><Username>a</Username><Password Type='http://docs.oasis-open.org/x#PasswordDigest'>b</Password>"
        "</UsernameToken></Security>"));
    EXPECT_STREQ("a", envelope.usernameToken().child("wsse:Username").text().get());
    EXPECT_STREQ("http://docs.oasis-open.org/x#PasswordDigest",
                 envelope.usernameToken().child("wsse:Password").attribute("Type").value());
}

TEST(EnvelopeTest, hasNoCredentialsWithoutTheirHeader)
{
    EXPECT_FALSE(Envelope(message("<a/>")).usernameToken());
    EXPECT_THAT(Envelope(message("<a/>")).messageId(), IsEmpty());
}

TEST(EnvelopeTest, givesTheMessagesId)
{
    EXPECT_EQ("urn:1", Envelope(message("<a/>", "<a:MessageID xmlns:a='http://www.w3.org/2005/08/addressing'>urn:1"
                                                "</a:MessageID>"))
                           .messageId());
}

TEST(EnvelopeTest, refusesWhatIsNoEnvelope)
{
    EXPECT_THAT(reasonOf(""), HasSubstr("well-formed"));
    EXPECT_THAT(reasonOf("<a>"), HasSubstr("line 1, column"));
    EXPECT_THAT(reasonOf("<a/>"), HasSubstr("not a SOAP 1.2 envelope"));
    EXPECT_THAT(reasonOf("<Envelope/>"), HasSubstr("not a SOAP 1.2 envelope"));
    EXPECT_THAT(faultOf("<a/>")->subcodes, ElementsAre("ter:WellFormed"));
    EXPECT_EQ(400, faultOf("<a/>")->httpStatus());
}

TEST(EnvelopeTest, refusesABodyThatDoesNotHaveExactlyOneElement)
{
    EXPECT_THAT(reasonOf(message("")), HasSubstr("exactly one element"));
    EXPECT_THAT(reasonOf(message("text")), HasSubstr("exactly one element"));
    EXPECT_THAT(reasonOf(message("<a/><b/>")), HasSubstr("exactly one element"));
    EXPECT_THAT(reasonOf("<s:Envelope xmlns:s='" + kSoap + "'/>"), HasSubstr("exactly one element"));
    EXPECT_EQ("accepted", reasonOf(message("<!-- one --> <a/> text")));
}

TEST(EnvelopeTest, tellsASoap11ClientTheVersion)
{
    for (const char* const text :
         {"<s:Envelope xmlns:s='http://schemas.xmlsoap.org/soap/envelope/'><s:Body><a/></s:Body></s:Envelope>",
          "<Envelope xmlns='http://schemas.xmlsoap.org/soap/envelope/'/>"}) {
        ASSERT_TRUE(faultOf(text)) << text;
        EXPECT_EQ(Fault::Code::versionMismatch, faultOf(text)->code) << text;
    }
}

TEST(EnvelopeTest, refusesADoctypeButNotTheWordInAComment)
{
    EXPECT_THAT(reasonOf("<!DOCTYPE a [<!ENTITY b 'c'>]>" + message("<a>&b;</a>")), HasSubstr("DOCTYPE"));
    EXPECT_EQ("accepted", reasonOf(message("<a/><!-- <!DOCTYPE -->")));
}

TEST(EnvelopeTest, readsATextThatACommentInterruptsAsOne)
{
    const Envelope envelope(message("<a>on<!-- -->e<?b?><![CDATA[<2]]>3<c/>4<!-- -->5</a>"));
    const pugi::xml_node a = envelope.request();
    EXPECT_STREQ("one<23", a.text().get());
    EXPECT_STREQ("45", a.last_child().value());
    EXPECT_EQ(3, std::distance(a.begin(), a.end()));
}

TEST(EnvelopeTest, takesABlankTextForNone)
{
    const Envelope envelope(message("<a>&#10;<b>&#32;</b><!-- --> <c> d&#13;</c><![CDATA[ ]]></a>"));
    EXPECT_EQ("<a><b/><c> d\n</c><![CDATA[ ]]></a>", printed(envelope.request()));
}

TEST(EnvelopeTest, refusesAReferenceToNoCharacter)
{
    // The parser counts in 32 bits: 4294967296 would end the text, and 4294967361 would be an A.
    for (const char* const none : {"&#0;", "&#x0;", "&#000;", "&#4294967296;", "&#4294967361;", "&#x100000041;",
                                   "&#1114112;", "&#xD800;", "&#xdfff;", "&#99999999999999999999999999999999999999;"}) {
        EXPECT_THAT(reasonOf(message("<a>b" + std::string(none) + "</a>")), HasSubstr("a reference to no character"))
            << none;
        EXPECT_THAT(reasonOf(message("<a b='" + std::string(none) + "'/>")), HasSubstr("a reference to no character"))
            << none;
    }
    EXPECT_EQ("accepted", reasonOf(message("<a>&#10;&#1;&#x100;&#xD7FF;&#xe000;&#x10FFFF;&#1114111;&#;0&#0</a>")));
}

TEST(EnvelopeTest, takesSixtyFourElementsWithinEachOther)
{
    const auto nested = [](std::size_t depth) { // within two elements
        std::string begin;
        std::string end;
        for (std::size_t i = 0; i < depth; ++i) {
            begin += "<a>";
            end += "</a>";
        }
        return message(begin + end);
    };
    EXPECT_EQ("accepted", reasonOf(nested(Envelope::kMostDeep - 2)));
    EXPECT_THAT(reasonOf(nested(Envelope::kMostDeep - 1)), HasSubstr("more than 64 elements"));
    EXPECT_THAT(reasonOf(nested(100000)), HasSubstr("more than 64 elements"));
    std::string flat;
    for (std::size_t i = 0; i < 100; ++i) {
        flat += "<b/>";
    }
    EXPECT_EQ("accepted", reasonOf(message("<a>" + flat + "</a>")));
}

TEST(EnvelopeTest, takesOneMebibyte)
{
    const std::size_t rest = Envelope::kMostBytes - message("<a></a>").size();
    EXPECT_EQ("accepted", reasonOf(message("<a>" + std::string(rest, 'x') + "</a>")));
    EXPECT_THAT(reasonOf(message("<a>" + std::string(rest + 1, 'x') + "</a>")), HasSubstr("at most 1048576"));
}

TEST(EnvelopeTest, refusesPrefixesThatMeanNothingOrAreKeptForSomethingElse)
{
    EXPECT_THAT(reasonOf(message("<q:a/>")), HasSubstr("prefix 'q'"));
    EXPECT_THAT(reasonOf(message("<tds:a xmlns:tds='urn:other'/>")), HasSubstr("kept for"));
    EXPECT_EQ("accepted", reasonOf(message("<tds:a/>")));
}

TEST(EnvelopeTest, refusesAHeaderThatMustBeUnderstoodAndIsNot)
{
    const auto header = [](const std::string& value) {
        return message("<a/>", "<q:b xmlns:q='urn:q' s:mustUnderstand='" + value + "'/>");
    };
    ASSERT_TRUE(faultOf(header("1")));
    EXPECT_EQ(Fault::Code::mustUnderstand, faultOf(header("true"))->code);
    EXPECT_THAT(reasonOf(header("1")), HasSubstr("'q:b'"));
    EXPECT_EQ("accepted", reasonOf(header("0")));
    for (const char* const uri :
         {"http://www.w3.org/2005/08/addressing",
          "http://docs.oasis-open.org/wss/2004/01/oasis-200401-wss-wssecurity-secext-1.0.xsd"}) {
        const std::string understood = "<q:Security xmlns:q='" + std::string(uri) + "' s:mustUnderstand='1'/>";
        EXPECT_EQ("accepted", reasonOf(message("<a/>", understood))) << uri;
    }
}

TEST(EnvelopeTest, keepsWhatOtherNamespacesNeedOnTheirOwnElements)
{
    const Envelope envelope(message("<a xmlns='http://www.onvif.org/ver20/analytics/wsdl' xmlns:m='urn:mine'>"
                                    "<b Type='m:X'/></a>"));
    EXPECT_EQ("<tan:a><tan:b Type=\"m:X\" xmlns:m=\"urn:mine\"/></tan:a>", printed(envelope.request()));
}

TEST(DeclareUsedTest, makesAnElementThatStandsAlone)
{
    const Envelope envelope(message("<tan:a><tt:Rule Type='axt:X'><tt:b xsi:type='xs:int'/></tt:Rule>"
                                    "<tds:other/></tan:a>"));
    pugi::xml_node rule = envelope.request().child("tt:Rule");
    declareUsed(rule, NamespaceTable::ofMessages());
    declareUsed(rule, NamespaceTable::ofMessages());
    EXPECT_EQ("<tt:Rule xmlns:axt=\"http://www.onvif.org/ver20/analytics\" "
              "xmlns:tt=\"http://www.onvif.org/ver10/schema\" xmlns:xs=\"http://www.w3.org/2001/XMLSchema\" "
              "xmlns:xsi=\"http://www.w3.org/2001/XMLSchema-instance\" Type=\"axt:X\">"
              "<tt:b xsi:type=\"xs:int\"/></tt:Rule>",
              printed(rule));
}

TEST(DeclareUsedTest, readsTextsThatAreNamesAndNoOthers)
{
    const Envelope envelope(message("<tan:a><tan:RuleType>axt:X</tan:RuleType><tan:Text>tds:X</tan:Text></tan:a>"));
    pugi::xml_node request = envelope.request();
    declareUsed(request, NamespaceTable::ofMessages());
    EXPECT_TRUE(request.attribute("xmlns:axt"));
    EXPECT_TRUE(request.attribute("xmlns:tan"));
    EXPECT_FALSE(request.attribute("xmlns:tds"));
}

TEST(AnswerTest, isAnEnvelopeThatAnEnvelopeReads)
{
    Answer answer("tds:GetUsersResponse");
    answer.body().append_child("tds:User").append_child("tt:Username").text().set("<&>");
    const std::string text = answer.text("");
    EXPECT_THAT(text, testing::StartsWith("<?xml version=\"1.0\" encoding=\"UTF-8\"?><env:Envelope "));
    EXPECT_THAT(text, Not(HasSubstr("env:Header")));
    const Envelope read(text);
    EXPECT_EQ("tds:GetUsersResponse", read.operation());
    EXPECT_STREQ("<&>", read.request().child("tds:User").child("tt:Username").text().get());
}

TEST(AnswerTest, tellsWhichRequestItAnswers)
{
    EXPECT_THAT(Answer("tds:X").text("urn:1"),
                HasSubstr("<env:Header><wsa:RelatesTo>urn:1</wsa:RelatesTo></env:Header><env:Body>"));
}

TEST(AnswerTest, tellsWhatItIs)
{
    EXPECT_THAT(Answer("tds:X").text("urn:1", "urn:what"), HasSubstr("<env:Header><wsa:RelatesTo>urn:1</wsa:RelatesTo>"
                                                                     "<wsa:Action>urn:what</wsa:Action></env:Header>"));
    EXPECT_THAT(Answer("tds:X").text("", "urn:what"), HasSubstr("<env:Header><wsa:Action>urn:what</wsa:Action>"));
    EXPECT_THAT(Answer("tds:X").text("", ""), Not(HasSubstr("env:Header")));
}

TEST(AnswerTest, declaresItsPrefixes)
{
    pugi::xml_document document;
    ASSERT_TRUE(document.load_string(Answer("tds:X").text("").c_str()));
    for (const auto& [prefix, uri] : NamespaceTable::ofMessages().rows()) {
        EXPECT_EQ(uri, document.document_element().attribute(("xmlns:" + prefix).c_str()).value());
    }
}

TEST(FaultTextTest, nestsTheSubcodes)
{
    const std::string text =
        faultText(Fault::sender({"ter:InvalidArgVal", "ter:NoConfig"}, "no <configuration>\x01"), "urn:2");
    EXPECT_THAT(text, HasSubstr("<env:Fault><env:Code><env:Value>env:Sender</env:Value><env:Subcode><env:Value>"
                                "ter:InvalidArgVal</env:Value><env:Subcode><env:Value>ter:NoConfig</env:Value>"
                                "</env:Subcode></env:Subcode></env:Code><env:Reason><env:Text xml:lang=\"en\">"
                                "no &lt;configuration&gt;\\x01</env:Text></env:Reason></env:Fault>"));
    EXPECT_THAT(text, HasSubstr("<wsa:RelatesTo>urn:2</wsa:RelatesTo><wsa:Action>"
                                "http://www.w3.org/2005/08/addressing/soap/fault</wsa:Action>"));
}

TEST(FaultTextTest, namesEachCode)
{
    const auto text = [](Fault::Code code) { return faultText(Fault(code, {}, "r"), ""); };
    EXPECT_THAT(text(Fault::Code::sender), HasSubstr(">env:Sender<"));
    EXPECT_THAT(text(Fault::Code::receiver), HasSubstr(">env:Receiver<"));
    EXPECT_THAT(text(Fault::Code::versionMismatch), HasSubstr(">env:VersionMismatch<"));
    EXPECT_THAT(text(Fault::Code::mustUnderstand), HasSubstr(">env:MustUnderstand<"));
    EXPECT_EQ(500, Fault::receiver({}, "r").httpStatus());
}

} // namespace
} // namespace camera::onvif
