// Stands for a library of another major number.
__attribute__((visibility("default"))) int quorvid_version(void);
int quorvid_version(void) {
  return 20000;
}
