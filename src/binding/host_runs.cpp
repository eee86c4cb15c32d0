#include "binding/host_runs.h"

#include <string>

#include "analysis/slice_from_runs.h"
#include "node_api/host_memory.h"
#include "node_api/refusal.h"

namespace stiltforge::binding {

namespace {

Napi::Error wrongRuns(Napi::Env env, const std::string& message) {
  return refusal(env, codes::slice, message);
}

template <typename T>
struct ArrayKind;
template <>
struct ArrayKind<uint32_t> {
  static constexpr napi_typedarray_type type = napi_uint32_array;
  static constexpr const char* name = "Uint32Array";
};
template <>
struct ArrayKind<uint16_t> {
  static constexpr napi_typedarray_type type = napi_uint16_array;
  static constexpr const char* name = "Uint16Array";
};
template <>
struct ArrayKind<uint8_t> {
  static constexpr napi_typedarray_type type = napi_uint8_array;
  static constexpr const char* name = "Uint8Array";
};

// A property as it was read, before anything is looked at: reading another one may run the host's
// getter, which may take memory away.
struct Named {
  std::string name;
  Napi::Value value;

  Named(const Napi::Object& object, const char* key, const std::string& prefix)
      : name(prefix + key), value(object.Get(key)) {}
};

template <typename T>
HostBytes elementsOf(const Named& array) {
  const Napi::Env env = array.value.Env();
  const bool isKind = array.value.IsTypedArray() &&
                      array.value.As<Napi::TypedArray>().TypedArrayType() == ArrayKind<T>::type;
  if (!isKind) {
    throw wrongRuns(env, array.name + " of the runs must be a " + ArrayKind<T>::name + ".");
  }
  const Napi::Value memory = array.value.As<Napi::TypedArray>().ArrayBuffer();
  if (!memory.IsArrayBuffer()) {
    throw wrongRuns(env, array.name +
                             " of the runs lies in shared memory, which another thread may change "
                             "meanwhile. Pass a copy of it.");
  }
  if (memory.As<Napi::ArrayBuffer>().IsDetached()) {
    throw wrongRuns(env, array.name +
                             " of the runs is detached, its memory was transferred. Pass the "
                             "array before that, or a copy of it.");
  }
  return HostBytes::ofView(array.value);
}

struct NamedRuns {
  Named rowStart;
  Named begin;
  Named end;

  NamedRuns(const Napi::Object& object, const std::string& prefix)
      : rowStart(object, "rowStart", prefix),
        begin(object, "begin", prefix),
        end(object, "end", prefix) {}
};

// The elements of the arrays, once all of them are read.
struct RunElements {
  HostBytes rowStart;
  HostBytes begin;
  HostBytes end;

  explicit RunElements(const NamedRuns& named)
      : rowStart(elementsOf<uint32_t>(named.rowStart)),
        begin(elementsOf<uint16_t>(named.begin)),
        end(elementsOf<uint16_t>(named.end)) {}

  HostRuns runs() const {
    return {rowStart.as<uint32_t>(), begin.as<uint16_t>(), end.as<uint16_t>()};
  }
};

struct NamedOverhang {
  NamedRuns runs;
  Named blue;
  Named green;

  explicit NamedOverhang(const Napi::Object& object)
      : runs(object, "overhang."),
        blue(object, "blue", "overhang."),
        green(object, "green", "overhang.") {}
};

struct OverhangElements {
  RunElements runs;
  HostBytes blue;
  HostBytes green;

  explicit OverhangElements(const NamedOverhang& named)
      : runs(named.runs),
        blue(elementsOf<uint8_t>(named.blue)),
        green(elementsOf<uint8_t>(named.green)) {}

  HostOverhang overhang() const { return {runs.runs(), blue.as<uint8_t>(), green.as<uint8_t>()}; }
};

Slice checked(Napi::Env env, uint16_t width, uint16_t height, const HostRuns& material,
              const HostOverhang* overhang) {
  try {
    return sliceFromRuns(width, height, material, overhang);
  } catch (const InvalidSlice& invalid) {
    throw wrongRuns(env, invalid.what());
  }
}

}  // namespace

Slice readRuns(const Napi::Value& runs, uint16_t width, uint16_t height) {
  const Napi::Env env = runs.Env();
  if (!runs.IsObject()) {
    throw wrongRuns(env, "The runs of a slice are an object with rowStart, begin and end.");
  }
  const auto object = runs.As<Napi::Object>();
  const NamedRuns material(object, "");
  const Napi::Value overhang = object.Get("overhang");
  if (overhang.IsUndefined()) {
    return checked(env, width, height, RunElements(material).runs(), nullptr);
  }
  if (!overhang.IsObject()) {
    throw wrongRuns(env,
                    "The overhang of a slice's runs is an object with rowStart, begin, end, blue "
                    "and green, or is left out.");
  }
  const NamedOverhang named(overhang.As<Napi::Object>());
  const OverhangElements elements(named);
  const HostOverhang given = elements.overhang();
  return checked(env, width, height, RunElements(material).runs(), &given);
}

}  // namespace stiltforge::binding
