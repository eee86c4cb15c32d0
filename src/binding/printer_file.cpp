#include "binding/printer_file.h"

#include <filesystem>
#include <optional>
#include <utility>

#include "binding/cancelled.h"
#include "binding/job.h"
#include "binding/rejection.h"
#include "files/file_error.h"
#include "node_api/refusal.h"
#include "node_api/value_maker.h"
#include "printer_files/open_printer_file.h"

namespace stiltforge::binding {

namespace {

constexpr napi_type_tag typeTag = {0x2f8c1d6e90b74a35, 0xa1e7c4035d9b6f82};

using Shared = std::shared_ptr<OpenPrinterFile>;

std::filesystem::path pathOf(const std::string& name) {
  return {std::u8string(name.begin(), name.end())};
}

class OpenJob : public Job {
 public:
  OpenJob(Napi::Env env, std::string name, uint8_t threshold, Cancelled cancelled)
      : Job(env),
        name_(std::move(name)),
        threshold_(threshold),
        cancelled_(std::move(cancelled)),
        withoutMemory_(name_ + ": There is not enough memory to open the file.") {}

 protected:
  void work() override {
    try {
      // The signal ends the opening alone: a run that reads layers has one of its own.
      if (*cancelled_) throw files::Cancelled();
      printer_files::ReadOptions options;
      options.threshold = threshold_;
      file_ = std::make_shared<OpenPrinterFile>(
          OpenPrinterFile{name_, printer_files::openPrinterFile(pathOf(name_), options)});
    } catch (const files::FileError& error) {
      throw JobRefusal(codes::file, name_ + ": " + error.what());
    } catch (const files::Cancelled& error) {
      throw JobRefusal("ABORT_ERR", name_ + ": " + error.what());
    }
  }

  napi_status result(napi_env env, napi_value* value) override {
    const printer_files::PrintInfo& info = file_->file->info();
    ValueMaker make(env);
    *value = make.object();
    const auto set = [&](const char* key, napi_value field) {
      make.set(*value, make.string(key), field);
    };
    const auto setLength = [&](const char* key, const std::optional<double>& length) {
      if (length) set(key, make.number(*length));
    };
    set("format", make.string(info.format));
    set("layerCount", make.number(info.layerCount));
    set("width", make.number(info.width));
    set("height", make.number(info.height));
    setLength("layerHeight", info.layerHeight);
    setLength("pixelWidth", info.pixelWidth);
    setLength("pixelHeight", info.pixelHeight);
    set("turned", make.boolean(info.isTurned));
    set("mirroredX", make.boolean(info.isMirroredX));
    set("mirroredY", make.boolean(info.isMirroredY));
    set("printer", make.string(info.printer));
    set("material", make.string(info.material));
    if (make.status() != napi_ok) return make.status();
    auto holder = std::make_unique<Shared>(file_);
    const auto free = [](napi_env, void* data, void*) { delete static_cast<Shared*>(data); };
    if (!make.check(napi_wrap(env, *value, holder.get(), free, nullptr, nullptr))) {
      return make.status();
    }
    // The value's from here on.
    static_cast<void>(holder.release());
    make.check(napi_type_tag_object(env, *value, &typeTag));
    return make.status();
  }

  const char* withoutMemory() const override { return withoutMemory_.c_str(); }

 private:
  const std::string name_;
  const uint8_t threshold_;
  const Cancelled cancelled_;
  const std::string withoutMemory_;
  Shared file_;
};

std::string pathFrom(const Napi::Value& value) {
  const Napi::Env env = value.Env();
  if (!value.IsString()) throw Napi::TypeError::New(env, "The path must be a string.");
  std::string path = value.As<Napi::String>().Utf8Value();
  // The operating system would open what is before it.
  if (path.find('\0') != std::string::npos) {
    throw refusal(env, codes::file, "The path holds a character 0. Check the path.");
  }
  return path;
}

uint8_t thresholdFrom(const Napi::Value& value) {
  constexpr double usual = 128;
  const double threshold = value.IsUndefined() ? usual
                           : value.IsNumber()  ? value.As<Napi::Number>().DoubleValue()
                                               : 0;
  if (threshold >= 1 && threshold <= 255 && threshold == static_cast<uint8_t>(threshold)) {
    return static_cast<uint8_t>(threshold);
  }
  throw Napi::RangeError::New(value.Env(),
                              "The option \"threshold\" must be a whole number from 1 to 255.");
}

}  // namespace

Napi::Value openPrinterFile(const Napi::CallbackInfo& info) {
  const Napi::Env env = info.Env();
  return rejectOnError(env, [&] {
    if (!info[1].IsUndefined() && !info[1].IsObject()) {
      throw Napi::TypeError::New(env, "The second argument must be an object with options.");
    }
    const Napi::Object options =
        info[1].IsUndefined() ? Napi::Object::New(env) : info[1].As<Napi::Object>();
    return Job::startAtOnce(std::make_unique<OpenJob>(env, pathFrom(info[0]),
                                                      thresholdFrom(options.Get("threshold")),
                                                      cancelledBy(env, options.Get("signal"))));
  });
}

Napi::Value isPrinterFile(const Napi::CallbackInfo& info) {
  return Napi::Boolean::New(info.Env(), printer_files::isPrinterFile(pathOf(pathFrom(info[0]))));
}

std::shared_ptr<OpenPrinterFile> printerFileOf(Napi::Value value) {
  if (!value.IsObject() || !value.As<Napi::Object>().CheckTypeTag(&typeTag)) return nullptr;
  void* data = nullptr;
  if (napi_unwrap(value.Env(), value, &data) != napi_ok) return nullptr;
  return *static_cast<Shared*>(data);
}

}  // namespace stiltforge::binding
