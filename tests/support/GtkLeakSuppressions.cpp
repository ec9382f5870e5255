// GTK and the libraries under it keep caches, type data and per-display state for the whole
// process and never free them; so does fontconfig. The leak checker is told so, by the
// places inside those libraries that make them, and reports only the programs' and the
// library's own leaks.
extern "C" const char* __lsan_default_suppressions() {
    return "leak:libfontconfig.so\n";
}
