// SPDX-License-Identifier: MIT
package vantrel;

import java.io.IOException;
import java.io.InputStream;
import java.nio.ByteBuffer;
import java.nio.charset.StandardCharsets;
import java.nio.file.Files;
import java.nio.file.Path;
import java.nio.file.StandardCopyOption;

/**
 * The native library: where it is found, and what it offers (vantrel_jni.cpp). Texts cross the border
 * as octets of UTF-8, because the text form of the Java Native Interface is another one, for NUL and
 * for characters beyond U+FFFF.
 */
final class Native {
    // Counts up when a native method changes: another library would read arguments that it is not given.
    private static final int INTERFACE = 1;

    static {
        load();
        final int found = interfaceNumber();
        if (found != INTERFACE) {
            throw new UnsatisfiedLinkError("the native library has the interface " + found + ", these classes need " + INTERFACE);
        }
    }

    private Native() {}

    static native int interfaceNumber();

    static native String version();

    /** Puts the options into {@code options[0]} and returns null; or says what is wrong with them. */
    private static native byte[] parseOptions(byte[] json, long[] options);

    private static native void freeOptions(long options);

    /** What was found out, as {@link #texts} takes it apart. */
    static native byte[] verify(long options, byte[] document, int offset, int length);

    static native byte[] verifyDirect(long options, ByteBuffer document, int offset, int length);

    static native byte[] verifyFile(long options, byte[] name);

    /** Two texts: empty when there is no page, and the page or why there is none. */
    static native byte[] htmlReport(long options, byte[] document, byte[] title);

    /** The texts of an answer, each of which ends in NUL. */
    static String[] texts(byte[] answer) {
        return new String(answer, 0, answer.length - 1, StandardCharsets.UTF_8).split("\0", -1);
    }

    /**
     * Options on the native side. They are given back when they are closed and no call uses them any
     * more, whichever comes last; so closing never waits for a document.
     */
    static final class Options {
        private final long address;
        private boolean closed;
        private int users = 1; // the owner, and each call under way

        Options(byte[] json) {
            final long[] read = new long[1];
            final byte[] complaint = parseOptions(json, read);
            if (complaint != null) {
                throw new Vantrel.OptionsException(new String(complaint, StandardCharsets.UTF_8));
            }
            address = read[0];
        }

        /** For one call, which ends with {@link #leave}. */
        synchronized long take() {
            if (closed) {
                throw new IllegalStateException("this verifier is closed");
            }
            ++users;
            return address;
        }

        synchronized void leave() {
            if (--users == 0) {
                freeOptions(address);
            }
        }

        synchronized void close() {
            if (!closed) {
                closed = true;
                leave();
            }
        }
    }

    // The library that was packed with these classes comes first, since it is sure to fit them.
    private static void load() {
        final String named = System.getProperty("vantrel.library");
        if (named != null) {
            System.load(Path.of(named).toAbsolutePath().toString());
            return;
        }
        final String packed = System.getProperty("os.name").toLowerCase() + "-" + System.getProperty("os.arch") + "/libvantrel_jni.so";
        try (InputStream library = Native.class.getResourceAsStream(packed)) {
            if (library == null) {
                System.loadLibrary("vantrel_jni");
            } else {
                loadCopy(library);
            }
        } catch (IOException error) {
            final var failed = new UnsatisfiedLinkError("the native library cannot be unpacked into " + System.getProperty("java.io.tmpdir")
                    + " (java.io.tmpdir names another folder, vantrel.library a library): " + error.getMessage());
            failed.initCause(error);
            throw failed;
        }
    }

    // The system loads files only. The file may go as soon as it is loaded, so that none is left behind.
    private static void loadCopy(InputStream library) throws IOException {
        final Path copy = Files.createTempFile("vantrel", ".so");
        try {
            Files.copy(library, copy, StandardCopyOption.REPLACE_EXISTING);
            System.load(copy.toString());
        } finally {
            Files.delete(copy);
        }
    }
}
