#include "camera/gateway/AnswerCheck.h"

#include <libxml/catalog.h>
#include <libxml/parser.h>
#include <libxml/xmlerror.h>
#include <libxml/xmlschemas.h>

#include <stdexcept>

namespace camera::gateway {

class AnswerCheck::Schema {
public:
    explicit Schema(const std::filesystem::path& folder)
    {
        xmlInitParser();
        xmlSetExternalEntityLoader(xmlNoNetExternalEntityLoader);
        xmlLoadCatalog((folder / "wsdl" / "catalog.xml").c_str());
        const std::filesystem::path file = folder / "xsd-libxml2" / "soap-all.xsd";
        const Holder<xmlSchemaParserCtxt, xmlSchemaFreeParserCtxt> parser(xmlSchemaNewParserCtxt(file.c_str()));
        std::string faults;
        xmlSchemaSetParserStructuredErrors(parser.get(), note, &faults);
        _schema.reset(xmlSchemaParse(parser.get()));
        if (!_schema) {
            throw std::runtime_error("the schemas in '" + file.string() + "' cannot be used: " + faults);
        }
    }

    std::string faultsOf(const std::string& message) const
    {
        const Holder<xmlDoc, xmlFreeDoc> document(xmlReadMemory(message.data(), static_cast<int>(message.size()),
                                                                nullptr, nullptr, XML_PARSE_NONET | XML_PARSE_NOERROR));
        if (!document) {
            return "it is no XML";
        }
        const Holder<xmlSchemaValidCtxt, xmlSchemaFreeValidCtxt> check(xmlSchemaNewValidCtxt(_schema.get()));
        std::string faults;
        xmlSchemaSetValidStructuredErrors(check.get(), note, &faults);
        const int result = xmlSchemaValidateDoc(check.get(), document.get());
        return result != 0 && faults.empty() ? "it cannot be checked" : faults;
    }

private:
    template <auto free>
    struct Free {
        template <class Object>
        void operator()(Object* object) const
        {
            free(object);
        }
    };
    template <class Object, auto free>
    using Holder = std::unique_ptr<Object, Free<free>>;

    // Other releases of the library have the error const.
    template <class Error>
    static void note(void* texts, Error* error)
    {
        std::string& all = *static_cast<std::string*>(texts);
        std::string text = error->message == nullptr ? "an unknown error" : error->message;
        while (!text.empty() && text.back() == '\n') {
            text.pop_back();
        }
        all += (all.empty() ? "" : " ") + text;
    }

    Holder<xmlSchema, xmlSchemaFree> _schema;
};

AnswerCheck::AnswerCheck(const std::filesystem::path& folder) : _schema(std::make_unique<Schema>(folder))
{
}

AnswerCheck::~AnswerCheck() = default;

std::string AnswerCheck::faultsOf(const std::string& message) const
{
    return _schema->faultsOf(message);
}

} // namespace camera::gateway
