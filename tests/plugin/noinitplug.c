/* A shared object without the pginit entry point. */
int orvat_call(int argc, char *argv[]) {
    (void)argc;
    (void)argv;
    return 0;
}
