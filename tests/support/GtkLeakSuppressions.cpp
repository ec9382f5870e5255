// GIO keeps process-wide state that it never frees (the content-type and file-info caches
// the file dialogs and drops fill), and the dialogs' jobs on GLib's worker threads may still
// hold small blocks when the program ends; fontconfig keeps its configuration and font
// caches. Their stacks end inside the libraries, which are built without frame pointers, so
// the leak checker is told by library and reports only the programs' and Kalvo's own leaks.
extern "C" const char* __lsan_default_suppressions() {
    return "leak:libfontconfig.so\n"
           "leak:libgio-2.0.so\n"
           "leak:libglib-2.0.so\n";
}
