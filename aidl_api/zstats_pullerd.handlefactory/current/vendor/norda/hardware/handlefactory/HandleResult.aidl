package vendor.norda.hardware.handlefactory;
@VintfStability
parcelable HandleResult {
    int code;
    String content;
}
