// SPDX-License-Identifier: MIT
package vantrel;

import java.io.Serializable;
import java.lang.ref.Cleaner;
import java.nio.ByteBuffer;
import java.nio.charset.Charset;
import java.nio.charset.StandardCharsets;
import java.nio.file.FileSystems;
import java.nio.file.Path;
import java.util.ArrayList;
import java.util.Arrays;
import java.util.Collections;
import java.util.List;
import java.util.Objects;

/**
 * Verifies XML signatures with one set of options, which is read once.
 *
 * <pre>{@code
 * try (Vantrel verifier = new Vantrel("{\"anchor\": {\"file\": \"authority.pem\"}}")) {
 *     Vantrel.Result result = verifier.verify(document);
 *     if (result.isAccepted()) { ... }
 * }
 * }</pre>
 *
 * <p>An object may be used by any number of threads at once, also while one of them closes it: calls
 * that have begun end as if it were open. Documents are read outside the heap of Java, and what a
 * call takes there is given back before it returns; results are ordinary objects. Whatever a
 * document holds, there is a result; exceptions say that a call was wrong, or that memory ran out
 * ({@link OutOfMemoryError}). A null argument is a {@link NullPointerException}.
 */
public final class Vantrel implements AutoCloseable {
    private static final Cleaner CLEANER = Cleaner.create();

    private final Native.Options options;
    // For those who forget to close: options may hold thousands of keys that no collector sees.
    private final Cleaner.Cleanable cleanable;

    /** A verifier without options: with the keys that documents bring along. */
    public Vantrel() {
        this("");
    }

    /**
     * @param optionsJson the long options of {@code xmldsig verify} in camelCase, as a JSON object
     * @throws OptionsException when an option is not known, or has a value that it does not take
     */
    public Vantrel(String optionsJson) {
        final Native.Options read = new Native.Options(utf8(optionsJson, "optionsJson"));
        options = read;
        cleanable = CLEANER.register(this, read::close);
    }

    /** Verifies one document with options for it alone. Throws what the constructor throws. */
    public static Result verify(byte[] document, String optionsJson) {
        Objects.requireNonNull(document, "document");
        try (Vantrel verifier = new Vantrel(optionsJson)) {
            return verifier.verify(document);
        }
    }

    /**
     * Verifies a document from its octets, in the encoding that it declares.
     *
     * @throws IllegalStateException when this object is closed
     */
    public Result verify(byte[] document) {
        Objects.requireNonNull(document, "document");
        final long address = options.take();
        try {
            return new Result(Native.verify(address, document, 0, document.length));
        } finally {
            options.leave();
        }
    }

    /**
     * The same for what stands between position and limit, neither of which changes. A direct buffer
     * is read where it is; it must not be changed, nor what it maps be cut off, before the call
     * returns.
     */
    public Result verify(ByteBuffer document) {
        // Of its own, so that another thread cannot move the position between two looks at it.
        final ByteBuffer own = document.duplicate();
        final int size = own.remaining();
        if (!own.isDirect() && !own.hasArray()) {
            final byte[] copy = new byte[size];
            own.get(copy);
            return verify(copy);
        }
        final long address = options.take();
        try {
            return new Result(own.isDirect()
                    ? Native.verifyDirect(address, own, own.position(), size)
                    : Native.verify(address, own.array(), own.arrayOffset() + own.position(), size));
        } finally {
            options.leave();
        }
    }

    /**
     * The same for a file, which never enters the heap of Java. One that cannot be read is a result
     * with {@link Status#ERROR}.
     *
     * @throws IllegalArgumentException for a path that is not of the default file system
     */
    public Result verify(Path file) {
        if (!file.getFileSystem().equals(FileSystems.getDefault())) {
            throw new IllegalArgumentException("the file is not of the default file system: " + file);
        }
        // The encoding by which Java itself names files to the system.
        final Charset names = Charset.forName(System.getProperty("sun.jnu.encoding", "UTF-8"));
        final byte[] name = file.toString().getBytes(names);
        final long address = options.take();
        try {
            return new Result(Native.verifyFile(address, name));
        } finally {
            options.leave();
        }
    }

    /**
     * Verifies, and makes a stand-alone page of HTML about the result.
     *
     * @throws DocumentException when the document cannot be loaded, so that there is nothing to show
     */
    public String htmlReport(byte[] document, String title) {
        Objects.requireNonNull(document, "document");
        final byte[] heading = utf8(title, "title");
        final long address = options.take();
        try {
            final String[] texts = Native.texts(Native.htmlReport(address, document, heading));
            if (texts[0].isEmpty()) {
                throw new DocumentException(texts[1]);
            }
            return texts[1];
        } finally {
            options.leave();
        }
    }

    /** Gives back the options. May be called more than once. */
    @Override
    public void close() {
        cleanable.clean();
    }

    /** The version of the library that runs, such as "0.1.0". */
    public static String version() {
        return Native.version();
    }

    private static byte[] utf8(String text, String name) {
        return Objects.requireNonNull(text, name).getBytes(StandardCharsets.UTF_8);
    }

    /** What is known of a document. */
    public enum Status {
        /** Every selected signature verifies. */
        VALID,
        /** One does not. */
        INVALID,
        /** There is none. */
        NO_SIGNATURE,
        /** Nothing can be said; {@link Result#error} says why. */
        ERROR
    }

    /** What a verification found out: a constant value, which nobody needs to close. */
    public static final class Result implements Serializable {
        private static final long serialVersionUID = 1;
        // Of the texts before those of the signatures.
        private static final int STATUS = 0;
        private static final int VALID = 1;
        private static final int ACCEPTED = 2;
        private static final int REFUSALS = 3;
        private static final int ERROR = 4;
        private static final int JSON = 5;
        private static final int SIGNATURES = 6;

        private final Status status;
        private final boolean valid;
        private final boolean accepted;
        private final String refusals;
        private final String error;
        private final String json;
        private final ArrayList<Signature> signatures = new ArrayList<>();

        private Result(byte[] found) {
            final String[] texts = Native.texts(found);
            status = Status.values()[Integer.parseInt(texts[STATUS]) - 1];
            valid = !texts[VALID].isEmpty();
            accepted = !texts[ACCEPTED].isEmpty();
            refusals = texts[REFUSALS];
            error = texts[ERROR];
            json = texts[JSON];
            for (int at = SIGNATURES; at + Signature.TEXTS <= texts.length; at += Signature.TEXTS) {
                signatures.add(new Signature(Arrays.copyOfRange(texts, at, at + Signature.TEXTS)));
            }
        }

        /**
         * True only when there is a signature, every selected one is valid, its value and its
         * references, and the policy accepts, where the options have one. Without a policy valid says
         * nothing of who signed.
         */
        public boolean isValid() {
            return valid;
        }

        /** True only when the options have a policy and it accepts the document. */
        public boolean isAccepted() {
            return accepted;
        }

        /** Why the policy refuses: fixed words of all signatures; empty where it does not, or there is none. */
        public List<String> refusals() {
            return words(refusals);
        }

        /** Of validity alone, whatever the policy says. */
        public Status status() {
            return status;
        }

        /** Why nothing can be said; else empty. */
        public String error() {
            return error;
        }

        /** The whole result as {@code xmldsig verify --json} writes it. */
        public String json() {
            return json;
        }

        /** The selected signatures in the order of the document; cannot be changed. */
        public List<Signature> signatures() {
            return Collections.unmodifiableList(signatures);
        }

        private static List<String> words(String text) {
            return text.isEmpty() ? List.of() : List.of(text.split(" "));
        }

        @Override
        public String toString() {
            return error.isEmpty() ? status.toString() : status + ": " + error;
        }
    }

    /** One signature; texts are empty where there is nothing to be said. */
    public static final class Signature implements Serializable {
        private static final long serialVersionUID = 1;
        static final int TEXTS = 7;

        private final String[] texts;

        private Signature(String[] texts) {
            this.texts = texts;
        }

        public boolean isValid() {
            return !texts[0].isEmpty();
        }

        public String id() {
            return texts[1];
        }

        /** Why it is not valid, in a line. */
        public String reason() {
            return texts[2];
        }

        /** The fixed word of the cause. */
        public String cause() {
            return texts[3];
        }

        /** The subject of the signer's certificate, which nobody may have vouched for. */
        public String signerSubject() {
            return texts[4];
        }

        /** The SHA-256 of the key that verified the value, in lower-case hexadecimal. */
        public String signerSpkiSha256() {
            return texts[5];
        }

        /** Why the policy refuses it: fixed words. */
        public List<String> refusals() {
            return Result.words(texts[6]);
        }

        @Override
        public String toString() {
            return isValid() ? "valid" : "invalid: " + reason();
        }
    }

    /** Options that are refused; the message names the one that is wrong. */
    public static final class OptionsException extends IllegalArgumentException {
        private static final long serialVersionUID = 1;

        OptionsException(String message) {
            super(message);
        }
    }

    /** A document of which there is no page; the message says why it cannot be loaded. */
    public static final class DocumentException extends RuntimeException {
        private static final long serialVersionUID = 1;

        DocumentException(String message) {
            super(message);
        }
    }
}
