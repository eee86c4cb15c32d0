#include "binding/printer_file.h"

#include <cstddef>
#include <optional>
#include <utility>

#include "binding/cancelled.h"
#include "binding/host_file.h"
#include "binding/job.h"
#include "binding/options.h"
#include "binding/rejection.h"
#include "files/file_error.h"
#include "node_api/refusal.h"
#include "node_api/value_maker.h"
#include "printer_files/kept_layers.h"
#include "printer_files/open_printer_file.h"

namespace stiltforge::binding {

namespace {

constexpr napi_type_tag typeTag = {0x2f8c1d6e90b74a35, 0xa1e7c4035d9b6f82};

constexpr const char* what = "The printer file";

using Shared = std::shared_ptr<OpenPrinterFile>;

class OpenJob : public Job {
 public:
  OpenJob(Napi::Env env, HostFile file, uint8_t threshold, std::size_t keptBytes,
          Cancelled cancelled)
      : Job(env),
        given_(std::move(file)),
        threshold_(threshold),
        keptBytes_(keptBytes),
        cancelled_(std::move(cancelled)),
        withoutMemory_(given_.prefix() + "There is not enough memory to open the file.") {}

 protected:
  void work() override {
    try {
      // The signal ends the opening alone: a run that reads layers has one of its own.
      if (*cancelled_) throw files::Cancelled();
      printer_files::ReadOptions options;
      options.threshold = threshold_;
      auto file = given_.isPath ? printer_files::openPrinterFile(given_.path(), options)
                                : printer_files::openPrinterFile(std::move(given_.bytes), options);
      file_ = std::make_shared<OpenPrinterFile>(
          OpenPrinterFile{given_.prefix(), printer_files::keepLayers(std::move(file), keptBytes_)});
    } catch (const files::FileError& error) {
      throw JobRefusal(codes::file, given_.prefix() + error.what());
    } catch (const files::Cancelled& error) {
      throw JobRefusal("ABORT_ERR", given_.prefix() + error.what());
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
    setLength("firstLayerHeight", info.firstLayerHeight);
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
  HostFile given_;
  const uint8_t threshold_;
  const std::size_t keptBytes_;
  const Cancelled cancelled_;
  const std::string withoutMemory_;
  Shared file_;
};

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
    const Options options = Options::optional(info, {"name", "threshold", "keptBytes", "signal"});
    const uint8_t threshold = thresholdFrom(options.get("threshold"));
    const std::size_t keptBytes = options.optionalWhole("keptBytes").value_or(0);
    Cancelled cancelled = cancelledBy(env, options.get("signal"));
    const Napi::Value name = options.get("name");
    // Last, so that no getter can take the memory away between the check and the copy.
    HostFile file = readHostFile(info[0], name, what, codes::file);
    return Job::startAtOnce(std::make_unique<OpenJob>(env, std::move(file), threshold, keptBytes,
                                                      std::move(cancelled)));
  });
}

Napi::Value isPrinterFile(const Napi::CallbackInfo& info) {
  const HostFile file = readHostFile(info[0], info[1], what, codes::file);
  return Napi::Boolean::New(info.Env(),
                            file.isPath ? printer_files::isPrinterFile(file.path())
                                        : printer_files::isPrinterFile(file.bytes, file.path()));
}

std::shared_ptr<OpenPrinterFile> printerFileOf(Napi::Value value) {
  if (!value.IsObject() || !value.As<Napi::Object>().CheckTypeTag(&typeTag)) return nullptr;
  void* data = nullptr;
  if (napi_unwrap(value.Env(), value, &data) != napi_ok) return nullptr;
  return *static_cast<Shared*>(data);
}

}  // namespace stiltforge::binding
