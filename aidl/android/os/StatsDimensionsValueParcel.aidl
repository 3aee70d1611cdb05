package android.os;

parcelable StatsDimensionsValueParcel {
    int field;
    int valueType;
    String stringValue;
    int intValue;
    long longValue;
    boolean boolValue;
    float floatValue;
    StatsDimensionsValueParcel[] tupleValue;
}
