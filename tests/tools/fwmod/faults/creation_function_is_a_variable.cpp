// The name of the creation function is that of a variable.
extern "C" {
extern int create_module;
int create_module = 1;
}
