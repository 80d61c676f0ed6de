_cls open {
    double x
