// Fontconfig keeps its configuration and font caches for the whole process and never frees
// them; the leak checker is told so that it reports only the library's own leaks.
extern "C" const char* __lsan_default_suppressions() { return "leak:libfontconfig.so\n"; }
