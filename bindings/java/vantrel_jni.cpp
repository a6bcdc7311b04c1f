// SPDX-License-Identifier: MIT
// The native methods of vantrel.Native, over the interface for C. Nothing of Java is kept from one
// call to the next, so that class loaders can be collected.
//
// Documents in arrays are copied out of the heap of Java. The other way, GetPrimitiveArrayCritical,
// gives the array itself, but no garbage is collected until it is given back: a verification of
// seconds would stop all threads that want memory. A direct buffer is read in place.

#include <vantrel/vantrel.h>

#include <algorithm>
#include <bit>
#include <cstdlib>
#include <limits>
#include <memory>
#include <string>

#include <jni.h>

namespace {

// Native.INTERFACE: both count up when a native method changes.
constexpr jint kInterface = 1;
// Octets that are copied at once: so long a collection has to wait.
constexpr jint kPortion = 1 << 20;

// Java keeps the options as a number.
static_assert(sizeof(jlong) == sizeof(vantrel_options*), "addresses have 64 bits");

// Native.Options sees to it that they are still there: it counts the calls.
const vantrel_options* optionsAt(jlong number) {
    return std::bit_cast<const vantrel_options*>(number);
}

// What is to be given back on every way out, to whom it came from.
struct Free {
    void operator()(jbyte* octets) const noexcept { std::free(octets); }
    void operator()(char* text) const noexcept { vantrel_text_free(text); }
    void operator()(vantrel_result* result) const noexcept { vantrel_result_free(result); }
};

using Result = std::unique_ptr<vantrel_result, Free>;
using Text = std::unique_ptr<char, Free>;

// To be followed by a return: the exception is thrown when Java goes on. `text` is ASCII.
void throwNew(JNIEnv* env, const char* name, const char* text) {
    const jclass kind = env->FindClass(name);
    if (kind != nullptr) {
        env->ThrowNew(kind, text);
    }
}

void throwNoMemory(JNIEnv* env) {
    throwNew(env, "java/lang/OutOfMemoryError", "no memory outside the heap");
}

// A part of an array, outside the heap.
class Octets {
public:
    // False with an exception pending, as when the part is not all in the array.
    bool copy(JNIEnv* env, jbyteArray array, jint offset, jint length) {
        // From malloc, which says that there is no memory by null; of no octets it may, too.
        m_octets.reset(
            static_cast<jbyte*>(std::malloc(static_cast<std::size_t>(std::max(length, 1)))));
        if (!m_octets) {
            throwNoMemory(env);
            return false;
        }
        m_size = static_cast<std::size_t>(length);
        for (jint done = 0; done < length;) {
            const jint portion = std::min(kPortion, length - done);
            env->GetByteArrayRegion(array, offset + done, portion, m_octets.get() + done);
            if (env->ExceptionCheck() == JNI_TRUE) {
                return false;
            }
            done += portion;
        }
        return true;
    }

    bool copy(JNIEnv* env, jbyteArray array) {
        return copy(env, array, 0, env->GetArrayLength(array));
    }

    [[nodiscard]] const void* data() const { return m_octets.get(); }
    [[nodiscard]] std::size_t size() const { return m_size; }
    // For functions that want a NUL behind it; a NUL inside ends it.
    [[nodiscard]] std::string text() const {
        const void* const octets = m_octets.get();
        return {static_cast<const char*>(octets), m_size};
    }

private:
    std::unique_ptr<jbyte, Free> m_octets;
    std::size_t m_size = 0;
};

// Null with an exception pending. What is too long for Java is told as Java tells it.
jbyteArray arrayOf(JNIEnv* env, const std::string& octets) {
    if (octets.size() > static_cast<std::size_t>(std::numeric_limits<jint>::max())) {
        throwNew(env, "java/lang/OutOfMemoryError", "the answer is longer than an array may be");
        return nullptr;
    }
    const jint size = static_cast<jint>(octets.size());
    const jbyteArray array = env->NewByteArray(size);
    if (array != nullptr) {
        const void* const data = octets.data();
        env->SetByteArrayRegion(array, 0, size, static_cast<const jbyte*>(data));
    }
    return array;
}

// Does the work of a native method, which makes an answer, and hands this over. No exception of C++
// may reach Java.
template <class Work> jbyteArray answered(JNIEnv* env, const Work& work) noexcept {
    try {
        std::string answer;
        if (!work(answer)) {
            return nullptr;
        }
        return arrayOf(env, answer);
    } catch (...) {
        throwNoMemory(env);
        return nullptr;
    }
}

// Texts divided by their ends, since none holds a NUL.
void add(std::string& answer, const char* text) { answer.append(text).push_back('\0'); }

// Fixed words, none of which has a space.
template <class Word> void addWords(std::string& answer, std::size_t count, const Word& word) {
    for (std::size_t i = 0; i < count; ++i) {
        answer.append(i == 0 ? "" : " ").append(word(i));
    }
    answer.push_back('\0');
}

// In the order of vantrel.Vantrel.Signature.
void addSignature(std::string& answer, const vantrel_result* result, std::size_t index) {
    add(answer, vantrel_result_signature_is_valid(result, index) != 0 ? "1" : "");
    add(answer, vantrel_result_signature_id(result, index));
    add(answer, vantrel_result_signature_reason(result, index));
    add(answer, vantrel_result_signature_cause(result, index));
    add(answer, vantrel_result_signer_subject(result, index));
    add(answer, vantrel_result_signer_spki_sha256(result, index));
    addWords(answer, vantrel_result_signature_refusal_count(result, index),
             [=](std::size_t i) { return vantrel_result_signature_refusal(result, index, i); });
}

// The answer as vantrel.Vantrel.Result reads it: status, whether valid, whether accepted, refusals,
// error, JSON, then the texts of each signature. False with an exception pending.
bool addResult(JNIEnv* env, vantrel_code code, const Result& result, const char* name,
               std::string& answer) {
    const char* const json = code == VANTREL_OK ? vantrel_result_json(result.get(), name) : nullptr;
    if (json == nullptr) {
        throwNoMemory(env);
        return false;
    }
    add(answer, std::to_string(static_cast<int>(vantrel_result_status(result.get()))).c_str());
    add(answer, vantrel_result_is_valid(result.get()) != 0 ? "1" : "");
    add(answer, vantrel_result_is_accepted(result.get()) != 0 ? "1" : "");
    addWords(answer, vantrel_result_refusal_count(result.get()),
             [&](std::size_t i) { return vantrel_result_refusal(result.get(), i); });
    add(answer, vantrel_result_error(result.get()));
    add(answer, json);
    // To the end of the answer: their number need not be told.
    for (std::size_t i = 0; i < vantrel_result_signature_count(result.get()); ++i) {
        addSignature(answer, result.get(), i);
    }
    return true;
}

// Of octets that stay as they are until this returns.
bool addVerified(JNIEnv* env, const void* data, std::size_t size, jlong options,
                 std::string& answer) {
    vantrel_result* made = nullptr;
    const vantrel_code code = vantrel_verify(data, size, optionsAt(options), &made);
    return addResult(env, code, Result(made), nullptr, answer);
}

} // namespace

extern "C" {

JNIEXPORT jint JNICALL Java_vantrel_Native_interfaceNumber(JNIEnv*, jclass) { return kInterface; }

JNIEXPORT jstring JNICALL Java_vantrel_Native_version(JNIEnv* env, jclass) {
    return env->NewStringUTF(vantrel_version());
}

JNIEXPORT jbyteArray JNICALL Java_vantrel_Native_parseOptions(JNIEnv* env, jclass, jbyteArray json,
                                                              jlongArray options) {
    Octets octets;
    if (!octets.copy(env, json)) {
        return nullptr;
    }
    return answered(env, [&](std::string& answer) {
        const std::string text = octets.text();
        vantrel_options* read = nullptr;
        char* complaint = nullptr;
        const vantrel_code code =
            vantrel_options_parse(text.data(), text.size(), &read, &complaint);
        const Text owned(complaint);
        if (code == VANTREL_OK) {
            const jlong number = std::bit_cast<jlong>(read);
            env->SetLongArrayRegion(options, 0, 1, &number);
            return false; // nothing to complain of
        }
        if (complaint == nullptr) { // no memory, not even for that
            throwNoMemory(env);
            return false;
        }
        answer = complaint;
        return true;
    });
}

JNIEXPORT void JNICALL Java_vantrel_Native_freeOptions(JNIEnv*, jclass, jlong options) {
    vantrel_options_free(std::bit_cast<vantrel_options*>(options));
}

JNIEXPORT jbyteArray JNICALL Java_vantrel_Native_verify(JNIEnv* env, jclass, jlong options,
                                                        jbyteArray document, jint offset,
                                                        jint length) {
    Octets octets;
    if (!octets.copy(env, document, offset, length)) {
        return nullptr;
    }
    return answered(env, [&](std::string& answer) {
        return addVerified(env, octets.data(), octets.size(), options, answer);
    });
}

JNIEXPORT jbyteArray JNICALL Java_vantrel_Native_verifyDirect(JNIEnv* env, jclass, jlong options,
                                                              jobject document, jint offset,
                                                              jint length) {
    // Null where a virtual machine gives no access, and for buffers that are not direct.
    const void* const start = env->GetDirectBufferAddress(document);
    if (start == nullptr) {
        throwNew(env, "java/lang/IllegalArgumentException", "the buffer has no address");
        return nullptr;
    }
    return answered(env, [&](std::string& answer) {
        const auto* const octets = static_cast<const jbyte*>(start) + offset;
        return addVerified(env, octets, static_cast<std::size_t>(length), options, answer);
    });
}

JNIEXPORT jbyteArray JNICALL Java_vantrel_Native_verifyFile(JNIEnv* env, jclass, jlong options,
                                                            jbyteArray name) {
    Octets octets;
    if (!octets.copy(env, name)) {
        return nullptr;
    }
    return answered(env, [&](std::string& answer) {
        const std::string path = octets.text(); // with the NUL that the system wants behind it
        vantrel_result* made = nullptr;
        const vantrel_code code = vantrel_verify_file(path.c_str(), optionsAt(options), &made);
        return addResult(env, code, Result(made), path.c_str(), answer);
    });
}

JNIEXPORT jbyteArray JNICALL Java_vantrel_Native_htmlReport(JNIEnv* env, jclass, jlong options,
                                                            jbyteArray document, jbyteArray title) {
    Octets octets;
    Octets heading;
    if (!octets.copy(env, document) || !heading.copy(env, title)) {
        return nullptr;
    }
    return answered(env, [&](std::string& answer) {
        const std::string text = heading.text();
        char* made = nullptr;
        const vantrel_code code = vantrel_html_report(octets.data(), octets.size(),
                                                      optionsAt(options), text.c_str(), &made);
        const Text page(made);
        // Where there is no page there is a reason; neither is there without memory.
        if (!page) {
            throwNoMemory(env);
            return false;
        }
        add(answer, code == VANTREL_OK ? "1" : "");
        add(answer, page.get());
        return true;
    });
}

} // extern "C"
