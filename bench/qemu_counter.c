/* A plugin of qemu's user mode: prints how many guest instructions a program executed.
 *
 * The distribution ships no header for plugins. What is declared here is the part of version 1
 * of their interface that counting needs. */
#include <stddef.h>
#include <stdint.h>
#include <stdio.h>

typedef uint64_t qemu_plugin_id_t;
struct qemu_plugin_tb;
struct qemu_info;

enum qemu_plugin_op { QEMU_PLUGIN_INLINE_ADD_U64 };

typedef void (*qemu_plugin_vcpu_tb_trans_cb_t)(qemu_plugin_id_t id, struct qemu_plugin_tb *block);
typedef void (*qemu_plugin_udata_cb_t)(qemu_plugin_id_t id, void *arg);

void qemu_plugin_register_vcpu_tb_trans_cb(qemu_plugin_id_t id,
                                           qemu_plugin_vcpu_tb_trans_cb_t callback);
void qemu_plugin_register_vcpu_tb_exec_inline(struct qemu_plugin_tb *block,
                                              enum qemu_plugin_op operation, void *counter,
                                              uint64_t value);
size_t qemu_plugin_tb_n_insns(const struct qemu_plugin_tb *block);
void qemu_plugin_register_atexit_cb(qemu_plugin_id_t id, qemu_plugin_udata_cb_t callback,
                                    void *arg);
void qemu_plugin_outs(const char *text);

#define EXPORTED __attribute__((visibility("default")))

EXPORTED extern int qemu_plugin_version;
EXPORTED int qemu_plugin_install(qemu_plugin_id_t id, const struct qemu_info *info, int argc,
                                 char **argv);

int qemu_plugin_version = 1;

static uint64_t instructions;

/* Guest code is translated block by block; the counter grows by a block's length whenever the
 * block is entered. */
static void count_block(qemu_plugin_id_t id, struct qemu_plugin_tb *block) {
  (void)id;
  qemu_plugin_register_vcpu_tb_exec_inline(block, QEMU_PLUGIN_INLINE_ADD_U64, &instructions,
                                           qemu_plugin_tb_n_insns(block));
}

static void print_count(qemu_plugin_id_t id, void *arg) {
  char text[64];
  (void)id;
  (void)arg;
  snprintf(text, sizeof text, "instructions: %llu\n", (unsigned long long)instructions);
  qemu_plugin_outs(text);
}

int qemu_plugin_install(qemu_plugin_id_t id, const struct qemu_info *info, int argc, char **argv) {
  (void)info;
  (void)argc;
  (void)argv;
  qemu_plugin_register_vcpu_tb_trans_cb(id, count_block);
  qemu_plugin_register_atexit_cb(id, print_count, NULL);
  return 0;
}
