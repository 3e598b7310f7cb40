#include "CameraTest.h"

#include <cstdlib>
#include <filesystem>
#include <regex>
#include <sstream>

namespace camera::system_tests {
namespace {

using testing::HasSubstr;

namespace fs = std::filesystem;

// The schemas as the validator takes them, made once from a copy: the originals stay as they are.
class SchemaTest : public CameraTest {
protected:
    void SetUp() override
    {
        if (!fs::exists(ONVIF_SCHEMAS "/make_libxml2_overlay.py")) {
            GTEST_SKIP() << "the ONVIF schemas are not here: " ONVIF_SCHEMAS;
        }
        if (run({"xmllint", "--version"}).exitCode != 0) {
            GTEST_SKIP() << "xmllint is missing";
        }
        const std::string schemas = path("onvif");
        fs::copy(ONVIF_SCHEMAS, schemas, fs::copy_options::recursive);
        setenv("XML_CATALOG_FILES", (schemas + "/wsdl/catalog.xml").c_str(), 1);
        const Finished made = run({"/usr/bin/python3", schemas + "/make_libxml2_overlay.py"});
        if (made.exitCode != 0 && made.err.find("lxml") != std::string::npos) {
            GTEST_SKIP() << "python3-lxml is missing";
        }
        ASSERT_EQ(0, made.exitCode) << made.err;
        schema = schemas + "/xsd-libxml2/tt-all.xsd";
    }

    Finished validate(const Words& files) const
    {
        Words words = {"xmllint", "--nonet", "--noout", "--schema", schema};
        words.insert(words.end(), files.begin(), files.end());
        return run(words);
    }

    // The metadata file holds one document after another, a line each.
    Words splitDocuments(const std::string& file) const
    {
        Words files;
        std::istringstream documents(read(file));
        for (std::string line; std::getline(documents, line);) {
            files.push_back(write("document" + std::to_string(files.size()) + ".xml", line));
        }
        return files;
    }

    std::string schema;
};

TEST_F(SchemaTest, refusesWhatIsNotValidSoThatTheseTestsCanFail)
{
    const std::string bad = write("bad.xml", "<tt:MetadataStream xmlns:tt='http://www.onvif.org/ver10/schema'>"
                                             "<tt:VideoAnalytics><tt:Frame/></tt:VideoAnalytics></tt:MetadataStream>");
    const Finished done = validate({bad});
    EXPECT_NE(0, done.exitCode);
    EXPECT_THAT(done.err, HasSubstr("UtcTime"));
}

TEST_F(SchemaTest, acceptsEveryMetadataDocumentOfARun)
{
    ASSERT_EQ(0, camera({"run", kScene, "--config", simple(), "--config", motion(), "--speed", "max", "--metadata",
                         path("m.xml")})
                     .exitCode);
    const Words documents = splitDocuments(path("m.xml"));
    ASSERT_EQ(150U, documents.size());
    EXPECT_THAT(read(path("m.xml")), HasSubstr("<tt:Object "));
    const Finished done = validate(documents);
    EXPECT_EQ(0, done.exitCode) << done.err;
}

TEST_F(SchemaTest, acceptsTheMergedConfiguration)
{
    ASSERT_EQ(0, camera({"config", "set", simple(), motion(), "--state", state()}).exitCode);
    const std::string merged = write("merged.xml", camera({"config", "get", "--state", state()}).out);
    EXPECT_THAT(read(merged), HasSubstr("Name=\"Path\""));
    const Finished done = validate({merged});
    EXPECT_EQ(0, done.exitCode) << done.err;
}

TEST_F(SchemaTest, acceptsTheMergedConfigurationOfACameraWithoutAny)
{
    std::filesystem::create_directories(state()); // a folder that is not there is refused
    const std::string merged = write("merged.xml", camera({"config", "get", "--state", state()}).out);
    const Finished done = validate({merged});
    EXPECT_EQ(0, done.exitCode) << done.err;
}

// The description of an engine: what it holds are the elements of the analytics service's answers.
class DescriptionSchemaTest : public SchemaTest {
protected:
    void SetUp() override
    {
        SchemaTest::SetUp();
        if (IsSkipped()) {
            return;
        }
        const std::string tan = "http://www.onvif.org/ver20/analytics/wsdl";
        const std::string begin =
            "<xs:schema xmlns:xs='http://www.w3.org/2001/XMLSchema' elementFormDefault='qualified' "
            "xmlns:tan='" +
            tan + "' xmlns:tt='http://www.onvif.org/ver10/schema' targetNamespace='";
        write("onvif/xsd-libxml2/tan-all.xsd",
              begin + tan +
                  "'><xs:import namespace='http://www.onvif.org/ver10/schema' schemaLocation='tt-all.xsd'/>"
                  "<xs:import namespace='http://www.onvif.org/ver20/analytics' "
                  "schemaLocation='ver20/analytics/rules.xsd'/>"
                  "<xs:include schemaLocation='ver20/analytics/wsdl/analytics.types.xsd'/>"
                  "<xs:element name='SupportedRules' type='tt:SupportedRules'/>"
                  "<xs:element name='SupportedAnalyticsModules' type='tt:SupportedAnalyticsModules'/>"
                  "<xs:element name='RuleOptions' type='tan:ConfigOptions'/>"
                  "<xs:element name='Options' type='tan:ConfigOptions'/>"
                  "<xs:element name='AnalyticsModule' type='tan:MetadataInfo'/></xs:schema>");
        schema = write(
            "onvif/xsd-libxml2/description.xsd",
            begin + "urn:x-virtual-camera:analytics'><xs:import namespace='" + tan +
                "' schemaLocation='tan-all.xsd'/><xs:element name='EngineDescription'><xs:complexType><xs:sequence>"
                "<xs:element ref='tan:SupportedRules'/><xs:element ref='tan:SupportedAnalyticsModules'/>"
                "<xs:element ref='tan:RuleOptions' minOccurs='0' maxOccurs='unbounded'/>"
                "<xs:element ref='tan:Options' minOccurs='0' maxOccurs='unbounded'/>"
                "<xs:element ref='tan:AnalyticsModule' minOccurs='0' maxOccurs='unbounded'/>"
                "</xs:sequence></xs:complexType></xs:element></xs:schema>");
    }
};

TEST_F(DescriptionSchemaTest, acceptsTheDescriptionOfEachEngine)
{
    for (const std::string engine : {"Simple", "Motion"}) {
        const std::string file = SOURCE_FOLDER "/camera/descriptions/" + engine + ".onvif.xml";
        const Finished done = validate({file});
        EXPECT_EQ(0, done.exitCode) << done.err;
        const std::string bad =
            std::regex_replace(read(file), std::regex(" Name=\"Sensitivity\" minOccurs"), " minOccurs");
        EXPECT_THAT(validate({write("bad.xml", bad)}).err, HasSubstr("'Name' is required"));
    }
}

} // namespace
} // namespace camera::system_tests
