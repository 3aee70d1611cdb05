package vendor.norda.hardware.handlefactory;

/** What the service knows of a node. */
@VintfStability
parcelable HandleResult {
    int code;
    String content;
}
