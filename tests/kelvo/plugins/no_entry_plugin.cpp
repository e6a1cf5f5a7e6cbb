// A shared object that is no plug-in.
extern "C" int unrelated() {
    return 1;
}
