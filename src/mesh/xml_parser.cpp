#include "mesh/xml_parser.h"

#include <expat.h>

#include <new>
#include <utility>

#include "mesh/limits.h"
#include "mesh/mesh_error.h"

namespace stiltforge::mesh {

namespace {

// Between a namespace and a local name; no namespace can hold it.
constexpr char separator = ' ';

XmlName split(std::string_view name) {
  const std::size_t at = name.rfind(separator);
  if (at == std::string_view::npos) return {{}, name};
  return {name.substr(0, at), name.substr(at + 1)};
}

}  // namespace

struct XmlParser::Handle {
  XML_Parser parser;
};

const char* XmlAttributes::find(std::string_view local, std::string_view space) const {
  for (const char** pair = pairs_; *pair != nullptr; pair += 2) {
    const XmlName name = split(*pair);
    if (name.local == local && name.space == space) return pair[1];
  }
  return nullptr;
}

template <typename Call>
void XmlParser::guarded(Call&& call) {
  if (failure_) return;
  // No exception may cross the XML library: it waits until parse() is back.
  try {
    call();
  } catch (...) {
    failure_ = std::current_exception();
    XML_StopParser(handle_->parser, XML_FALSE);
  }
}

XmlParser::XmlParser(std::string subject)
    : subject_(std::move(subject)),
      handle_(std::make_unique<Handle>(Handle{XML_ParserCreateNS(nullptr, separator)})) {
  XML_Parser parser = handle_->parser;
  if (parser == nullptr) throw std::bad_alloc();
  XML_SetUserData(parser, this);
  XML_SetElementHandler(
      parser,
      [](void* self, const XML_Char* name, const XML_Char** attributes) {
        auto& reader = *static_cast<XmlParser*>(self);
        reader.guarded([&] {
          reader.lastElement_ = reader.fed_;
          if (++reader.depth_ > deepestElement) {
            throw MeshError(reader.subject_ + " has more than " +
                                counted(deepestElement, "element") + " inside each other",
                            copyAgain);
          }
          reader.startElement(split(name), XmlAttributes(attributes));
        });
      },
      [](void* self, const XML_Char* name) {
        auto& reader = *static_cast<XmlParser*>(self);
        reader.guarded([&] {
          --reader.depth_;
          reader.endElement(split(name));
        });
      });
  XML_SetNamespaceDeclHandler(
      parser,
      [](void* self, const XML_Char* prefix, const XML_Char* space) {
        auto& reader = *static_cast<XmlParser*>(self);
        reader.guarded([&] {
          reader.declareNamespace(prefix == nullptr ? "" : prefix, space == nullptr ? "" : space);
        });
      },
      nullptr);
  XML_SetStartDoctypeDeclHandler(
      parser, [](void* self, const XML_Char*, const XML_Char*, const XML_Char*, int) {
        auto& reader = *static_cast<XmlParser*>(self);
        reader.guarded([&] {
          throw MeshError(reader.subject_ + " has a document type (DTD), which 3MF forbids",
                          "Export it again");
        });
      });
}

XmlParser::~XmlParser() {
  XML_ParserFree(handle_->parser);
}

void XmlParser::feed(const char* bytes, int count, bool isLast) {
  fed_ += static_cast<std::uint64_t>(count);
  const XML_Status status = XML_Parse(handle_->parser, bytes, count, isLast ? 1 : 0);
  if (failure_) std::rethrow_exception(failure_);
  if (status == XML_STATUS_ERROR) {
    const XML_Error error = XML_GetErrorCode(handle_->parser);
    if (error == XML_ERROR_NO_MEMORY) throw std::bad_alloc();
    throw MeshError(subject_ + " is not well-formed XML: line " +
                        grouped(XML_GetCurrentLineNumber(handle_->parser)) + ", " +
                        XML_ErrorString(error),
                    copyAgain);
  }
}

void XmlParser::parse(std::span<const char> bytes) {
  feed(bytes.data(), static_cast<int>(bytes.size()), false);
  // A tag is kept whole in memory, so its length is limited; so is what is passed over.
  const XML_Index done = XML_GetCurrentByteIndex(handle_->parser);
  if (done >= 0 && fed_ - static_cast<std::uint64_t>(done) > longestTag) {
    throw MeshError(subject_ + " has a tag of more than " + counted(longestTag, "byte"), copyAgain);
  }
  if (fed_ - lastElement_ > mostBytesBetweenElements) {
    throw MeshError(subject_ + " has more than " + counted(mostBytesBetweenElements, "byte") +
                        " without an XML element",
                    copyAgain);
  }
}

void XmlParser::finish() {
  feed("", 0, true);
}

}  // namespace stiltforge::mesh
