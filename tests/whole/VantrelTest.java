// SPDX-License-Identifier: MIT
import java.io.ByteArrayInputStream;
import java.io.ByteArrayOutputStream;
import java.io.ObjectInputStream;
import java.io.ObjectOutputStream;
import java.nio.ByteBuffer;
import java.nio.charset.StandardCharsets;
import java.nio.file.Files;
import java.nio.file.Path;
import java.util.ArrayList;
import java.util.Arrays;
import java.util.List;
import java.util.concurrent.CountDownLatch;
import java.util.concurrent.atomic.AtomicInteger;

import vantrel.Vantrel;

/** Checks of vantrel.Vantrel, run by java_test.py. Arguments: the tool, the folder of the examples, a folder for files. */
public final class VantrelTest {
    private static int passed;
    private static int failed;
    private static String tool;
    private static Path examples;
    private static Path scratch;

    private interface Step {
        void run() throws Exception;
    }

    private static synchronized void check(String name, boolean holds, Object more) {
        if (holds) {
            ++passed;
        } else {
            ++failed;
            final String text = String.valueOf(more);
            System.out.println("FAILED: " + name + " " + text.substring(0, Math.min(1000, text.length())));
        }
    }

    private static void throwsThat(String name, Class<? extends Throwable> kind, String piece, Step step) {
        try {
            step.run();
            check(name, false, "nothing was thrown");
        } catch (Throwable thrown) {
            final String message = String.valueOf(thrown.getMessage());
            check(name, kind.isInstance(thrown) && message.contains(piece), thrown);
        }
    }

    private static byte[] example(String name) throws Exception {
        return Files.readAllBytes(examples.resolve(name));
    }

    private static String byTool(String... arguments) throws Exception {
        final List<String> command = new ArrayList<>(List.of(tool, "verify", "--json"));
        command.addAll(List.of(arguments));
        final Process process = new ProcessBuilder(command).redirectError(ProcessBuilder.Redirect.DISCARD).start();
        return new String(process.getInputStream().readAllBytes(), StandardCharsets.UTF_8).stripTrailing();
    }

    private static String withoutFile(String json) {
        return json.replaceFirst("\"file\":\"[^\"]*\"", "\"file\":\"\"");
    }

    /** Every way to hand a document over finds out what the tool does. */
    private static void sameAsTheTool() throws Exception {
        try (Vantrel verifier = new Vantrel(); var names = Files.list(examples)) {
            for (Path file : names.filter(each -> each.toString().endsWith(".xml")).sorted().toArray(Path[]::new)) {
                final byte[] document = Files.readAllBytes(file);
                final String expected = byTool(file.toString());
                final String name = file.getFileName().toString();
                final Vantrel.Result result = verifier.verify(file);
                check(name, result.json().equals(expected), result.json());
                check(name + " status", expected.contains("\"status\":\"" + result.status().toString().toLowerCase() + "\""), result);
                check(name + " valid", result.isValid() == (result.status() == Vantrel.Status.VALID), result);
                final byte[] wide = new byte[document.length + 20];
                System.arraycopy(document, 0, wide, 7, document.length);
                final ByteBuffer direct = ByteBuffer.allocateDirect(wide.length).put(wide).position(7).limit(7 + document.length);
                final ByteBuffer heap = ByteBuffer.wrap(wide, 2, document.length + 10).slice().position(5).limit(5 + document.length);
                for (ByteBuffer buffer : List.of(direct, direct.slice(), heap, heap.asReadOnlyBuffer(), ByteBuffer.wrap(document))) {
                    final int position = buffer.position();
                    check(name + " " + buffer, verifier.verify(buffer).json().equals(withoutFile(expected)) && buffer.position() == position, buffer);
                }
                check(name + " array", verifier.verify(document).json().equals(withoutFile(expected)), expected);
            }
        }
        final Path named = Files.copy(examples.resolve("invoice.xml"), scratch.resolve("f\u00e4ktura \ud83d\ude00.xml"));
        check("a name beyond ASCII", new Vantrel().verify(named).json().equals(byTool(named.toString())), named);
        final Vantrel.Result absent = new Vantrel().verify(scratch.resolve("absent.xml"));
        check("absent", absent.status() == Vantrel.Status.ERROR && absent.error().contains("No such file"), absent);
    }

    private static void signatures() throws Exception {
        final Vantrel.Signature good = new Vantrel().verify(example("invoice.xml")).signatures().get(0);
        check("signature", good.isValid() && good.id().equals("invoice-signature") && good.reason().isEmpty()
                && good.signerSubject().equals("CN=Example Signer,O=Example") && good.signerSpkiSha256().length() == 64, good);
        final Vantrel.Result result = Vantrel.verify(example("invoice-tampered.xml"), "{\"explain\": true}");
        final Vantrel.Signature bad = result.signatures().get(0);
        check("invalid signature", !result.isValid() && !bad.isValid() && bad.reason().contains("digest") && !bad.cause().isEmpty(), bad);
        throwsThat("signatures are constant", UnsupportedOperationException.class, "", () -> result.signatures().clear());
        // As Spark sends results from one machine to another.
        final ByteArrayOutputStream written = new ByteArrayOutputStream();
        new ObjectOutputStream(written).writeObject(result);
        final Object copy = new ObjectInputStream(new ByteArrayInputStream(written.toByteArray())).readObject();
        check("serialized", copy instanceof Vantrel.Result && ((Vantrel.Result) copy).json().equals(result.json())
                && ((Vantrel.Result) copy).signatures().get(0).reason().equals(bad.reason()), copy);
    }

    private static void options() throws Exception {
        final String key = Files.readString(examples.resolve("keys/signer.pub")).replace("\n", "\\n");
        check("key", Vantrel.verify(example("invoice.xml"), "{\"key\": [\"" + key + "\"]}").json()
                .equals(withoutFile(byTool("--key", examples + "/keys/signer.pub", examples + "/invoice.xml"))), key);
        check("secret", Vantrel.verify(example("transfer-hmac.xml"), "{\"hmacKeyFile\": {\"file\": \"" + examples + "/keys/secret.bin\"}}").isValid(), "");
        throwsThat("no such option", Vantrel.OptionsException.class, "noSuch", () -> new Vantrel("{\"noSuch\": 1}"));
        throwsThat("no such option beyond ASCII", Vantrel.OptionsException.class, "\u00e4\ud83d\ude00", () -> new Vantrel("{\"\u00e4\ud83d\ude00\": 1}"));
        for (String json : List.of("{", "[]", "7", "{\"id\": \"\0\"}", "\ud800", "{\"key\": \"x\"}", "[".repeat(1 << 20), "x".repeat(64 << 20))) {
            throwsThat("options " + json.substring(0, 1), Vantrel.OptionsException.class, "", () -> new Vantrel(json));
        }
    }

    /** A policy gives the same verdict as on the command line. */
    private static void policies() throws Exception {
        final String invoice = examples + "/invoice.xml";
        final String signer = examples + "/keys/signer.pem";
        final String[][] cases = {
            {"{\"strict\": true}", "--strict"},
            {"{\"strict\": true, \"onlyKey\": true, \"key\": {\"file\": \"" + signer + "\"}}", "--strict", "--only-key", "--key", signer},
            {"{\"anchor\": [{\"file\": \"" + examples + "/keys/root.pem\"}], \"require\": [\"strong\"]}",
                "--anchor", examples + "/keys/root.pem", "--require", "strong"},
            {"{\"pin\": \"sha256:" + "0".repeat(64) + "\", \"mustCover\": [\"document\"]}", "--pin", "sha256:" + "0".repeat(64), "--must-cover", "document"},
            {"{\"require\": \"covered\", \"mustCover\": \"#absent\"}", "--require", "covered", "--must-cover", "#absent"},
        };
        int accepted = 0;
        for (String[] each : cases) {
            final Vantrel.Result result = Vantrel.verify(example("invoice.xml"), each[0]);
            final List<String> arguments = new ArrayList<>(Arrays.asList(each).subList(1, each.length));
            arguments.add(invoice);
            // The moment at which trust was judged is that of each run.
            final String expected = withoutFile(byTool(arguments.toArray(String[]::new))).replaceAll("20[0-9-]*T[0-9:]*Z", "");
            check(each[0], result.json().replaceAll("20[0-9-]*T[0-9:]*Z", "").equals(expected), result.json());
            check(each[0] + " accepted", result.isAccepted() == expected.contains("\"accepted\":true") && result.isValid() == result.isAccepted(), result);
            final List<String> refusals = result.refusals();
            check(each[0] + " refusals", refusals.isEmpty() == result.isAccepted() && refusals.equals(result.signatures().get(0).refusals())
                    && refusals.stream().allMatch(word -> expected.contains("\"" + word + "\"")), refusals);
            accepted += result.isAccepted() ? 1 : 0;
        }
        check("some are accepted and some are not", accepted > 0 && accepted < cases.length, accepted);
        check("without a policy", !new Vantrel().verify(example("invoice.xml")).isAccepted(), "");
        throwsThat("a policy without effect", Vantrel.OptionsException.class, "checkRevocation", () -> new Vantrel("{\"checkRevocation\": true}"));
    }

    private static void wrongCalls() throws Exception {
        final Vantrel verifier = new Vantrel();
        throwsThat("null options", NullPointerException.class, "optionsJson", () -> new Vantrel(null));
        throwsThat("null array", NullPointerException.class, "document", () -> verifier.verify((byte[]) null));
        throwsThat("null array, null options", NullPointerException.class, "document", () -> Vantrel.verify(null, null));
        throwsThat("null buffer", NullPointerException.class, "", () -> verifier.verify((ByteBuffer) null));
        throwsThat("null path", NullPointerException.class, "", () -> verifier.verify((Path) null));
        throwsThat("null page", NullPointerException.class, "document", () -> verifier.htmlReport(null, ""));
        throwsThat("null title", NullPointerException.class, "title", () -> verifier.htmlReport(new byte[0], null));
        check("empty", verifier.verify(new byte[0]).status() == Vantrel.Status.ERROR, "");
        check("empty buffer", verifier.verify(ByteBuffer.allocateDirect(0)).status() == Vantrel.Status.ERROR, "");
        check("octets that are no document", verifier.verify(new byte[] {0, -1, -128, 127}).status() == Vantrel.Status.ERROR, "");
        final byte[] invoice = example("invoice.xml");
        for (int size = 0; size < invoice.length - 1; size += 37) {
            check("cut at " + size, !verifier.verify(Arrays.copyOf(invoice, size)).isValid(), size);
        }
        verifier.close();
        verifier.close();
        throwsThat("closed", IllegalStateException.class, "closed", () -> verifier.verify(invoice));
        throwsThat("closed, buffer", IllegalStateException.class, "closed", () -> verifier.verify(ByteBuffer.allocateDirect(1)));
        throwsThat("closed, path", IllegalStateException.class, "closed", () -> verifier.verify(scratch));
        throwsThat("closed, page", IllegalStateException.class, "closed", () -> verifier.htmlReport(invoice, ""));
    }

    private static void pages() throws Exception {
        try (Vantrel verifier = new Vantrel()) {
            final String page = verifier.htmlReport(example("invoice.xml"), "R\u00e9sum\u00e9 \ud83d\ude00 <b>");
            check("page", page.startsWith("<!DOCTYPE html>") && page.contains("R\u00e9sum\u00e9 \ud83d\ude00 &lt;b"), page);
            throwsThat("no page", Vantrel.DocumentException.class, "", () -> verifier.htmlReport(new byte[] {'<'}, ""));
        }
    }

    /** Threads with small stacks share verifiers, until these are closed under them. */
    private static void concurrent() throws Exception {
        final byte[] good = example("invoice.xml");
        final byte[] bad = example("invoice-tampered.xml");
        final int threads = 8;
        for (int round = 0; round < 12; ++round) {
            final Vantrel verifier = new Vantrel(round == 0 ? "{\"explain\": true}" : "");
            final CountDownLatch calls = new CountDownLatch(threads * 8);
            final AtomicInteger wrong = new AtomicInteger();
            final AtomicInteger closed = new AtomicInteger();
            final List<Thread> running = new ArrayList<>();
            for (int i = 0; i < threads; ++i) {
                final Thread thread = new Thread(null, () -> {
                    try {
                        for (int call = 0;; ++call) {
                            final boolean valid = verifier.verify(call % 4 == 0 ? bad : good).isValid();
                            wrong.addAndGet(valid == (call % 4 == 0) ? 1 : 0);
                            calls.countDown();
                        }
                    } catch (IllegalStateException error) {
                        closed.incrementAndGet();
                    }
                }, "verify", 256 << 10);
                thread.start();
                running.add(thread);
            }
            calls.await();
            verifier.close();
            for (Thread thread : running) {
                thread.join();
            }
            check("calls by threads, round " + round, wrong.get() == 0 && closed.get() == threads, wrong + " " + closed);
        }
    }

    private static long residentMegabytes() throws Exception {
        for (String line : Files.readAllLines(Path.of("/proc/self/status"))) {
            if (line.startsWith("VmRSS:")) {
                return Long.parseLong(line.replaceAll("\\D", "")) >> 10;
            }
        }
        return 0;
    }

    /** A large document is an ordinary one, and what calls take outside the heap does not stay. */
    private static void memory() throws Exception {
        final byte[] invoice = example("invoice.xml");
        final byte[] large = new byte[invoice.length + (50 << 20)];
        Arrays.fill(large, (byte) '\n');
        System.arraycopy(invoice, 0, large, 0, invoice.length);
        final String options = "{\"id\": \"" + "x".repeat(1 << 20) + "\"}";
        long before = 0;
        try (Vantrel verifier = new Vantrel()) {
            for (int round = 0; round < 8; ++round) {
                check("50 MB", verifier.verify(large).isValid(), round);
                for (int i = 0; i < 50; ++i) {
                    new Vantrel(options).close();
                }
                if (round == 1) {
                    before = residentMegabytes();
                }
            }
        }
        final long grown = residentMegabytes() - before;
        check("memory is given back", grown < 80, grown + " MB");
    }

    public static void main(String[] arguments) throws Exception {
        tool = arguments[0];
        examples = Path.of(arguments[1]);
        scratch = Path.of(arguments[2]);
        check("version", Vantrel.version().matches("\\d+\\.\\d+\\.\\d+"), Vantrel.version());
        sameAsTheTool();
        signatures();
        options();
        policies();
        wrongCalls();
        pages();
        concurrent();
        memory();
        System.out.println(passed + " passed, " + failed + " failed");
        System.exit(failed == 0 && passed > 0 ? 0 : 1);
    }
}
