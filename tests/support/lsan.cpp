// libconfig loses the text that it was reading when a file turns out to be malformed.
extern "C" const char* __lsan_default_suppressions();

extern "C" const char* __lsan_default_suppressions()
{
    return "leak:strbuf_append\nleak:libconfig_yylex\n";
}
