/* A plugin of qemu-mips: counts the instructions that a program executes, and which of them load,
 * store or branch. At every close() of the descriptor MARK it writes a line with the four counts so
 * far to the file of the argument "out". Only the program's own instructions count, not the
 * kernel's.
 *
 * The emulator's header is not packaged, so the required declarations are here. */
#include <stdint.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include "mark.h"

typedef uint64_t qemu_plugin_id_t;
struct qemu_plugin_tb;
struct qemu_plugin_insn;
enum { QEMU_PLUGIN_CB_NO_REGS = 0 };

typedef void (*translation_callback)(qemu_plugin_id_t id, struct qemu_plugin_tb *block);
typedef void (*execution_callback)(unsigned int cpu, void *data);
typedef void (*system_call_callback)(qemu_plugin_id_t id, unsigned int cpu, int64_t number,
                                     uint64_t a1, uint64_t a2, uint64_t a3, uint64_t a4,
                                     uint64_t a5, uint64_t a6, uint64_t a7, uint64_t a8);

extern void qemu_plugin_register_vcpu_tb_trans_cb(qemu_plugin_id_t id,
                                                  translation_callback callback);
extern void qemu_plugin_register_vcpu_tb_exec_cb(struct qemu_plugin_tb *block,
                                                 execution_callback callback, int flags,
                                                 void *data);
extern void qemu_plugin_register_vcpu_syscall_cb(qemu_plugin_id_t id,
                                                 system_call_callback callback);
extern size_t qemu_plugin_tb_n_insns(const struct qemu_plugin_tb *block);
extern struct qemu_plugin_insn *qemu_plugin_tb_get_insn(const struct qemu_plugin_tb *block,
                                                        size_t index);
extern const void *qemu_plugin_insn_data(const struct qemu_plugin_insn *instruction);

__attribute__((visibility("default"))) int qemu_plugin_version = 1;

struct counts {
  uint64_t instructions, loads, stores, branches;
};

static struct counts total;
static FILE *out;

/* Classified by the opcode in the upper six bits; register jumps share opcode 0 with arithmetic. */
static void classify(const unsigned char *bytes, struct counts *counts) {
  const unsigned opcode = bytes[0] >> 2;
  const unsigned function = bytes[3] & 63;
  ++counts->instructions;
  if ((opcode >= 0x20 && opcode <= 0x26) || opcode == 0x30 || opcode == 0x31 || opcode == 0x35) {
    ++counts->loads;
  } else if ((opcode >= 0x28 && opcode <= 0x2B) || opcode == 0x2E || opcode == 0x38 ||
             opcode == 0x39 || opcode == 0x3D) {
    ++counts->stores;
  } else if ((opcode >= 1 && opcode <= 7) || (opcode >= 0x14 && opcode <= 0x17) ||
             (opcode == 0 && (function == 8 || function == 9))) {
    ++counts->branches;
  }
}

static void on_execution(unsigned int cpu, void *data) {
  const struct counts *block = data;
  (void)cpu;
  total.instructions += block->instructions;
  total.loads += block->loads;
  total.stores += block->stores;
  total.branches += block->branches;
}

static void on_translation(qemu_plugin_id_t id, struct qemu_plugin_tb *block) {
  const size_t length = qemu_plugin_tb_n_insns(block);
  struct counts *counts = calloc(1, sizeof *counts); /* kept while the block may run */
  (void)id;
  if (counts == NULL) abort();
  for (size_t i = 0; i < length; ++i)
    classify(qemu_plugin_insn_data(qemu_plugin_tb_get_insn(block, i)), counts);
  qemu_plugin_register_vcpu_tb_exec_cb(block, on_execution, QEMU_PLUGIN_CB_NO_REGS, counts);
}

static void on_system_call(qemu_plugin_id_t id, unsigned int cpu, int64_t number, uint64_t a1,
                           uint64_t a2, uint64_t a3, uint64_t a4, uint64_t a5, uint64_t a6,
                           uint64_t a7, uint64_t a8) {
  (void)id, (void)cpu, (void)a2, (void)a3, (void)a4, (void)a5, (void)a6, (void)a7, (void)a8;
  if (number != MARK_SYSTEM_CALL || (uint32_t)a1 != MARK) return;
  fprintf(out, "%llu %llu %llu %llu\n", (unsigned long long)total.instructions,
          (unsigned long long)total.loads, (unsigned long long)total.stores,
          (unsigned long long)total.branches);
  fflush(out);
}

__attribute__((visibility("default"))) int qemu_plugin_install(qemu_plugin_id_t id,
                                                               const void *info, int argc,
                                                               char **argv) {
  (void)info;
  if (argc != 1 || strncmp(argv[0], "out=", 4) != 0) return -1;
  out = fopen(argv[0] + 4, "w");
  if (out == NULL) return -1;
  qemu_plugin_register_vcpu_tb_trans_cb(id, on_translation);
  qemu_plugin_register_vcpu_syscall_cb(id, on_system_call);
  return 0;
}
