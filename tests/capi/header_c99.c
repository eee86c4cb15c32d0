/* The header is C99, and its functions link as C. */
#include "stiltforge/stiltforge.h"

int headerIsUsableFromC(void);

int headerIsUsableFromC(void) {
  stiltforge_error error;
  stiltforge_print_settings print = {.struct_size = sizeof print};
  stiltforge_status status = stiltforge_print_settings_init(&print, &error);
  return status == STILTFORGE_OK && error.message[0] == '\0' && print.layer_height == 0.05 &&
         print.support_area == 15.0;
}
