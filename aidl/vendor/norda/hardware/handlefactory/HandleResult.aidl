package vendor.norda.hardware.handlefactory;

/** What the service knows of a node. */
parcelable HandleResult {
    int code;
    String content;
}
