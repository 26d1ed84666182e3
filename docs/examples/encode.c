// cc encode.c $(pkg-config --cflags --libs talvera) -ltalvera_sdb
#include <stdio.h>
#include <talvera/encode.h>

int main(void) {
  const unsigned char bytes[] = {1, 2, 3};
  char text[8], cell[64];
  unsigned int size = sizeof text;
  if (base64_encode(bytes, sizeof bytes, text, &size) == 0) puts(text);  // AQID
  if (entities_hex_encode(cell, sizeof cell, "<b>") == 0) puts(cell);    // &#x3c;b&#x3e;
  return 0;
}
