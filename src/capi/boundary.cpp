#include "capi/boundary.h"

#include <cstddef>
#include <cstring>
#include <exception>
#include <initializer_list>
#include <new>
#include <stdexcept>
#include <string_view>

#include "analysis/slice_from_runs.h"
#include "capi/refusal.h"
#include "model/model.h"
#include "slicing/slicing_error.h"

namespace stiltforge::capi {

namespace {

// Cuts between the characters of UTF-8, so that what is left is text.
std::size_t cutAtCharacter(std::string_view text, std::size_t most) {
  if (text.size() <= most) return text.size();
  while (most > 0 && (static_cast<unsigned char>(text[most]) & 0xC0) == 0x80) --most;
  return most;
}

// Allocates nothing, since the want of memory is told with it too.
void write(stiltforge_error* error, std::initializer_list<std::string_view> parts) noexcept {
  if (!error) return;
  std::size_t written = 0;
  for (const std::string_view part : parts) {
    const std::size_t length = cutAtCharacter(part, sizeof error->message - 1 - written);
    std::memcpy(error->message + written, part.data(), length);
    written += length;
    if (length < part.size()) break;
  }
  error->message[written] = '\0';
}

}  // namespace

void clearError(stiltforge_error* error) noexcept {
  if (error) error->message[0] = '\0';
}

stiltforge_status reportException(const char* function, stiltforge_error* error) noexcept {
  try {
    throw;
  } catch (const Refusal& refusal) {
    if (refusal.status() == STILTFORGE_UNUSABLE_MESH) {
      write(error, {refusal.what()});
    } else {
      write(error, {function, ": ", refusal.what(), "."});
    }
    return refusal.status();
  } catch (const slicing::SlicingError& failure) {
    write(error, {failure.what()});
    return STILTFORGE_UNUSABLE_MESH;
  } catch (const InvalidSlice& failure) {
    write(error, {function, ": ", failure.what()});
    return STILTFORGE_INVALID_ARGUMENT;
  } catch (const AnalysisCancelled&) {
    write(error, {function, ": cancelled by its token."});
    return STILTFORGE_CANCELLED;
  } catch (const std::bad_alloc&) {
    write(error, {function, ": there is not enough memory."});
    return STILTFORGE_OUT_OF_MEMORY;
  } catch (const std::length_error&) {
    write(error, {function, ": there is not enough memory."});
    return STILTFORGE_OUT_OF_MEMORY;
  } catch (const std::exception& failure) {
    write(error, {function, ": unexpected failure, please report it: ", failure.what()});
    return STILTFORGE_INTERNAL;
  } catch (...) {
    write(error, {function, ": unexpected failure, please report it."});
    return STILTFORGE_INTERNAL;
  }
}

}  // namespace stiltforge::capi
