// The creation functions have other names.
extern "C" {
void* create_counter();
void* counter_create_again();
void count();
}
void* create_counter() { return nullptr; }
void* counter_create_again() { return nullptr; }
void count() {}
