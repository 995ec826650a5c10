// The font library keeps what it has loaded until the process ends; the leak sanitizer would hold it against us.
extern "C" const char* __lsan_default_suppressions();

extern "C" const char* __lsan_default_suppressions()
{
    return "leak:libfontconfig\n";
}
