// A shared object without the entry point of a plug-in.
extern "C" int unrelated() {
    return 1;
}
