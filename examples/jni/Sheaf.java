/** A document, as far as this example needs one. Native code is in sheaf_jni.c. */
final class Sheaf implements AutoCloseable {
    static {
        System.loadLibrary("sheafjni");
    }

    /** Why an operation failed. */
    static final class Failure extends RuntimeException {
        final int code;
        final int object;
        final long offset;

        Failure(int code, int object, long offset, String message) {
            super(message);
            this.code = code;
            this.object = object;
            this.offset = offset;
        }
    }

    private long handle;

    Sheaf(String path) {
        handle = open(path);
    }

    private Sheaf(byte[] bytes) {
        handle = openBytes(bytes);
    }

    static Sheaf of(byte[] bytes) {
        return new Sheaf(bytes);
    }

    int pageCount() {
        return pageCount(handle);
    }

    int rotation(int page) {
        return rotation(handle, page);
    }

    void rotate(int page, int degrees) {
        rotate(handle, page, degrees);
    }

    byte[] save() {
        return save(handle);
    }

    @Override
    public void close() {
        close(handle);
        handle = 0;
    }

    private static native long open(String path);
    private static native long openBytes(byte[] bytes);
    private static native int pageCount(long handle);
    private static native int rotation(long handle, int page);
    private static native void rotate(long handle, int page, int degrees);
    private static native byte[] save(long handle);
    private static native void close(long handle);
}
