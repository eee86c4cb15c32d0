#include <string_view>

#include "stiltforge/stiltforge.h"

#define STILTFORGE_TEXT(number) #number
#define STILTFORGE_TEXTS(major, minor, patch) \
  STILTFORGE_TEXT(major) "." STILTFORGE_TEXT(minor) "." STILTFORGE_TEXT(patch)

static_assert(std::string_view(STILTFORGE_VERSION) == STILTFORGE_TEXTS(STILTFORGE_VERSION_MAJOR,
                                                                       STILTFORGE_VERSION_MINOR,
                                                                       STILTFORGE_VERSION_PATCH),
              "the header and the project have different versions");

const char* stiltforge_status_name(stiltforge_status status) {
  switch (status) {
    case STILTFORGE_OK:
      return "STILTFORGE_OK";
    case STILTFORGE_INVALID_ARGUMENT:
      return "STILTFORGE_INVALID_ARGUMENT";
    case STILTFORGE_UNUSABLE_MESH:
      return "STILTFORGE_UNUSABLE_MESH";
    case STILTFORGE_OUT_OF_MEMORY:
      return "STILTFORGE_OUT_OF_MEMORY";
    case STILTFORGE_CANCELLED:
      return "STILTFORGE_CANCELLED";
    case STILTFORGE_BUSY:
      return "STILTFORGE_BUSY";
    case STILTFORGE_STOPPED:
      return "STILTFORGE_STOPPED";
    case STILTFORGE_UNSUPPORTED:
      return "STILTFORGE_UNSUPPORTED";
    case STILTFORGE_INTERNAL:
      return "STILTFORGE_INTERNAL";
    default:
      return "unknown";
  }
}

const char* stiltforge_version(void) {
  return STILTFORGE_VERSION;
}
