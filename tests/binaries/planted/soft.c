/* A library with every fault that check_binaries.cmake looks for. */
int planted(int value);
int planted(int value) {
    return value + 1;
}
