// Does nothing: it stands for the headers that are compiled for all tests.
int main() {
    return 0;
}
