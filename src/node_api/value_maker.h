#pragma once

#include <node_api.h>

#include <cstddef>
#include <cstdint>
#include <string>

namespace stiltforge {

/// Makes script values by plain Node-API calls. The first that fails makes all that follow do
/// nothing, so that status() is asked once: jobs end while an environment shuts down, too, where
/// every such call fails and throwing C++ wrappers would end the process.
class ValueMaker {
 public:
  explicit ValueMaker(napi_env env) : env_(env) {}

  napi_env env() const { return env_; }
  napi_status status() const { return status_; }
  /// Takes in the outcome of a call made elsewhere. Returns whether all is well so far.
  bool check(napi_status status) {
    if (status_ == napi_ok) status_ = status;
    return status_ == napi_ok;
  }

  napi_value null() {
    napi_value value = nullptr;
    if (status_ == napi_ok) status_ = napi_get_null(env_, &value);
    return value;
  }
  napi_value boolean(bool flag) {
    napi_value value = nullptr;
    if (status_ == napi_ok) status_ = napi_get_boolean(env_, flag, &value);
    return value;
  }
  napi_value number(uint32_t number) {
    napi_value value = nullptr;
    if (status_ == napi_ok) status_ = napi_create_uint32(env_, number, &value);
    return value;
  }
  napi_value number(double number) {
    napi_value value = nullptr;
    if (status_ == napi_ok) status_ = napi_create_double(env_, number, &value);
    return value;
  }
  napi_value string(const std::string& text) {
    napi_value value = nullptr;
    if (status_ == napi_ok) {
      status_ = napi_create_string_utf8(env_, text.data(), text.size(), &value);
    }
    return value;
  }
  napi_value object() {
    napi_value value = nullptr;
    if (status_ == napi_ok) status_ = napi_create_object(env_, &value);
    return value;
  }
  napi_value array(std::size_t length) {
    napi_value value = nullptr;
    if (status_ == napi_ok) status_ = napi_create_array_with_length(env_, length, &value);
    return value;
  }
  void set(napi_value object, napi_value key, napi_value value) {
    if (status_ == napi_ok) status_ = napi_set_property(env_, object, key, value);
  }
  void set(napi_value array, uint32_t index, napi_value value) {
    if (status_ == napi_ok) status_ = napi_set_element(env_, array, index, value);
  }

 private:
  napi_env env_;
  napi_status status_ = napi_ok;
};

/// Frees the values that are made while it lives.
class ValueScope {
 public:
  explicit ValueScope(ValueMaker& make) : env_(make.env()) {
    make.check(napi_open_handle_scope(env_, &scope_));
  }
  ~ValueScope() {
    if (scope_) napi_close_handle_scope(env_, scope_);
  }
  ValueScope(const ValueScope&) = delete;
  ValueScope& operator=(const ValueScope&) = delete;

 private:
  napi_env env_;
  napi_handle_scope scope_ = nullptr;
};

}  // namespace stiltforge
