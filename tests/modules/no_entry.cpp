// A library without a creation function.
extern "C" int something_else() { return 1; }
