// Linked into every program of a sanitizer build: libraries that were loaded stay loaded. A leak
// report names a library only while it is there, and without its name it can't be suppressed; SDL
// unloads the GL driver with its last window.
__attribute__((visibility("default"))) int dlclose(void* handle);

int dlclose(void* handle) {
  (void)handle;
  return 0;
}
