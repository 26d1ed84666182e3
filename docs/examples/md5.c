// cc md5.c $(pkg-config --cflags --libs talvera) -ltalvera_sdb
#include <stdio.h>
#include <talvera/md5.h>

int main(void) {
  unsigned char digest[MD5_DIGEST_SIZE];
  md5_context context;
  MD5CInit(&context);
  MD5CUpdate(&context, (const unsigned char *)"ab", 2);
  MD5CUpdate(&context, (const unsigned char *)"c", 1);
  MD5CFinal(digest, &context);  // same as UTIL_MD5("abc", digest)
  for (int i = 0; i < MD5_DIGEST_SIZE; i++)
    printf("%02x", digest[i]);
  putchar('\n');
  return 0;
}
