/* The cross compiler's unwinder was built for glibc and asks it for the unwind table of an address.
 * Answers that question for uClibc, from the loaded programs' own headers. */
#define _GNU_SOURCE
#include <link.h>
#include <stddef.h>

struct dl_find_object {
  unsigned long long flags;
  void *map_start, *map_end;
  struct link_map *map;
  void *eh_frame;
  unsigned long long reserved[7];
};

struct query {
  ElfW(Addr) address;
  struct dl_find_object *result;
  int found;
};

static int visit(struct dl_phdr_info *object, size_t size, void *data) {
  struct query *query = data;
  ElfW(Addr) table = 0;
  int inside = 0, i;
  (void)size;
  for (i = 0; i < object->dlpi_phnum; i++) {
    const ElfW(Phdr) *header = &object->dlpi_phdr[i];
    const ElfW(Addr) start = object->dlpi_addr + header->p_vaddr;
    const ElfW(Addr) end = start + header->p_memsz;
    if (header->p_type == PT_LOAD && query->address >= start && query->address < end) {
      query->result->map_start = (void *)start;
      query->result->map_end = (void *)end;
      inside = 1;
    }
    if (header->p_type == PT_GNU_EH_FRAME) table = start;
  }
  if (!inside) return 0;
  query->result->eh_frame = (void *)table;
  query->found = table != 0;
  return 1;
}

int _dl_find_object(void *address, struct dl_find_object *result) {
  struct query query = {(ElfW(Addr))address, result, 0};
  result->flags = 0;
  result->map = NULL;
  dl_iterate_phdr(visit, &query);
  return query.found ? 0 : -1;
}
