#pragma once

#include <cstdint>
#include <exception>
#include <memory>
#include <span>
#include <string>
#include <string_view>

namespace stiltforge::mesh {

/// A name in its namespace. Both are empty for what is not there.
struct XmlName {
  std::string_view space;
  std::string_view local;
};

/// The attributes of a start tag; valid while it is handled.
class XmlAttributes {
 public:
  explicit XmlAttributes(const char** pairs) : pairs_(pairs) {}

  /// The value of an attribute without a prefix, or in a namespace; nullptr when it is not there.
  const char* find(std::string_view local, std::string_view space = {}) const;

 private:
  const char** pairs_;
};

/// Reads XML in pieces and hands its elements over. Text between tags is passed over. Document
/// types, which can define entities that grow without bound, are refused.
class XmlParser {
 public:
  /// subject: what is read, for messages: "the part "3D/3dmodel.model" of the 3MF".
  explicit XmlParser(std::string subject);
  virtual ~XmlParser();
  XmlParser(const XmlParser&) = delete;
  XmlParser& operator=(const XmlParser&) = delete;

  /// The next bytes. Throws MeshError when they are not well-formed, or go against the limits for
  /// tags, nesting and bytes between elements, and whatever the handlers throw.
  void parse(std::span<const char> bytes);
  /// No more bytes follow. Throws like parse().
  void finish();

 protected:
  virtual void startElement(XmlName name, XmlAttributes attributes) = 0;
  virtual void endElement(XmlName name) = 0;
  /// Namespaces count from where they are declared; their prefixes matter to one attribute of 3MF.
  virtual void declareNamespace(std::string_view prefix, std::string_view space) = 0;

  const std::string& subject() const { return subject_; }

 private:
  struct Handle;

  void feed(const char* bytes, int count, bool isLast);
  template <typename Call>
  void guarded(Call&& call);

  const std::string subject_;
  std::unique_ptr<Handle> handle_;
  std::exception_ptr failure_;
  std::uint64_t fed_ = 0;
  std::uint64_t lastElement_ = 0;  // bytes fed when the last element was met
  int depth_ = 0;
};

}  // namespace stiltforge::mesh
