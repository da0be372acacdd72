// Placeholder entry until process start-up lands.
int main() { return 1; }
