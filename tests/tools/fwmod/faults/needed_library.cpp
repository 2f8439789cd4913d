// What another library needs; the tests hide its file.
extern "C" int needed_function();
extern "C" int needed_function() { return 1; }
