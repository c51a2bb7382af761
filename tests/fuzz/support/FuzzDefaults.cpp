// What the sanitizers of a fuzz target do unless the environment says otherwise. A failure is shown
// with the stack of its allocation by ASAN_OPTIONS=malloc_context_size=30.

extern "C" const char* __asan_default_options();

// A target allocates and frees some hundred times for an input: no stack is kept for each, and
// freed memory is not kept for longer than a few inputs take.
extern "C" const char* __asan_default_options() {
    return "malloc_context_size=0:quarantine_size_mb=1:thread_local_quarantine_size_kb=256";
}
