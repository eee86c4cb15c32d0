#include "printer_files/archive_settings.h"

#include <cmath>
#include <nlohmann/json.hpp>

#include "files/file_error.h"
#include "printer_files/settings_text.h"

namespace stiltforge::printer_files {

namespace {

using files::FileError;
using files::inQuotes;
using Json = nlohmann::json;

constexpr const char* exportAgain = "Export the print again";

// https://github.com/prusa3d/PrusaSlicer: what its SL1 export writes, as its files show.
ArchiveSettings readSl1(PrintArchive& archive, const std::string& config) {
  ArchiveSettings settings;
  settings.format = "SL1";
  settings.countSource = "config.ini";
  const IniSettings job("config.ini", config);
  settings.layerPrefix = job.text("jobDir");
  settings.layerHeight = job.positiveNumber("layerHeight");
  settings.material = job.text("materialName");
  settings.printer = job.text("printerModel");
  const auto fast = job.count("numFast");
  const auto slow = job.count("numSlow");
  if (fast || slow) settings.layerCount = fast.value_or(0) + slow.value_or(0);

  const std::string screenFile = "prusaslicer.ini";
  const auto text = archive.text(screenFile);
  if (!text) return settings;
  const IniSettings screen(screenFile, *text);
  settings.screenSource = screenFile;
  if (!settings.layerHeight) settings.layerHeight = screen.positiveNumber("layer_height");
  settings.firstLayerHeight = screen.positiveNumber("initial_layer_height");
  if (settings.printer.empty()) settings.printer = screen.text("printer_model");
  if (settings.material.empty()) settings.material = screen.text("sla_material_settings_id");
  settings.screenWidth = screen.count("display_pixels_x");
  settings.screenHeight = screen.count("display_pixels_y");
  const auto width = screen.positiveNumber("display_width");
  const auto height = screen.positiveNumber("display_height");
  if (width && settings.screenWidth.value_or(0) > 0) {
    settings.pixelWidth = *width / *settings.screenWidth;
  }
  if (height && settings.screenHeight.value_or(0) > 0) {
    settings.pixelHeight = *height / *settings.screenHeight;
  }
  settings.isTurned = screen.text("display_orientation") == "portrait";
  settings.isMirroredX = screen.flag("display_mirror_x");
  settings.isMirroredY = screen.flag("display_mirror_y");
  return settings;
}

/// A JSON object of the archive.
class JsonSettings {
 public:
  /// Empty when there is no such file.
  static std::optional<JsonSettings> read(PrintArchive& archive, const std::string& name) {
    const auto text = archive.text(name);
    if (!text) return std::nullopt;
    constexpr bool throws = false;
    Json json = Json::parse(*text, nullptr, throws);
    if (!json.is_object()) {
      throw FileError(inQuotes(name) + " of the archive is no JSON object", files::copyAgain);
    }
    return JsonSettings(name, std::move(json));
  }

  const std::string& name() const { return name_; }

  std::string text(const char* key) const {
    const auto found = json_.find(key);
    return found != json_.end() && found->is_string() ? found->get<std::string>() : std::string();
  }

  /// Nothing for none and for 0, which stands for none.
  std::optional<double> number(const char* key) const {
    const auto found = json_.find(key);
    if (found == json_.end() || found->is_null()) return std::nullopt;
    const double value = found->is_number() ? found->get<double>() : -1;
    if (value == 0) return std::nullopt;
    constexpr double most = 1e9;
    if (value > 0 && value <= most) return value;
    throw refused(key, "which is no positive number");
  }

  std::optional<uint32_t> count(const char* key) const {
    const auto value = number(key);
    if (!value) return std::nullopt;
    if (*value == std::floor(*value)) return static_cast<uint32_t>(*value);
    throw refused(key, "which is no whole number");
  }

 private:
  JsonSettings(std::string name, Json json) : name_(std::move(name)), json_(std::move(json)) {}

  FileError refused(const char* key, const char* why) const {
    const std::string value = json_.at(key).dump(-1, ' ', true, Json::error_handler_t::replace);
    return {inQuotes(name_) + " of the archive has the " + key + " " + inQuotes(value) + ", " + why,
            exportAgain};
  }

  std::string name_;
  Json json_;
};

// https://docs.nanodlp.com/manual/format names the files; lengths in z are in micrometres.
ArchiveSettings readNanoDlp(PrintArchive& archive, const JsonSettings& plate) {
  constexpr double micrometre = 0.001;
  ArchiveSettings settings;
  settings.format = "NanoDLP";
  settings.countSource = plate.name();
  settings.layerCount = plate.count("LayersCount");
  for (const char* name : {"slicer.json", "options.json"}) {
    const auto options = JsonSettings::read(archive, name);
    if (!options) continue;
    settings.screenSource = options->name();
    settings.screenWidth = options->count("PWidth");
    settings.screenHeight = options->count("PHeight");
    settings.pixelWidth = options->number("XPixelSize");
    settings.pixelHeight = options->number("YPixelSize");
    if (const auto depth = options->number("Thickness")) settings.layerHeight = *depth * micrometre;
    break;
  }
  if (const auto profile = JsonSettings::read(archive, "profile.json")) {
    settings.material = profile->text("Title");
    if (const auto depth = profile->number("Depth"); depth && !settings.layerHeight) {
      settings.layerHeight = *depth * micrometre;
    }
  }
  if (const auto meta = JsonSettings::read(archive, "meta.json")) {
    settings.printer = meta->text("Distro");
  }
  return settings;
}

}  // namespace

ArchiveSettings readArchiveSettings(PrintArchive& archive) {
  if (const auto config = archive.text("config.ini")) return readSl1(archive, *config);
  if (const auto plate = JsonSettings::read(archive, "plate.json")) {
    return readNanoDlp(archive, *plate);
  }
  ArchiveSettings settings;
  settings.format = "archive of pictures";
  return settings;
}

}  // namespace stiltforge::printer_files
