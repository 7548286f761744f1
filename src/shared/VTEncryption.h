#pragma once

#include <optional>
#include <string>
#include <string_view>

// Bytes into ciphertext with a passphrase and back: AES with a key of 256 bits, each block of 16 bytes on its
// own (electronic codebook).
//
// The format is kept for data that is written in it. It hides the bytes of a block from those who do not know
// the passphrase, and protects nothing else:
//
//   - Equal blocks are equal in the ciphertext, within one text and between texts: patterns show.
//   - Nothing tells whether ciphertext is whole and unchanged: blocks can be exchanged, repeated, left out
//     and taken from other texts. Damage and a wrong passphrase give meaningless bytes, never an error.
//   - The key is the passphrase itself, not derived at a cost: a weak passphrase is quickly guessed.
//   - The length shows, to the block.
//
// Do not use it for anything new.
//
// The key is the first 32 bytes of the passphrase's UTF-8 text, the rest of which is ignored, filled up with
// zero bytes; an absent passphrase is 32 zero bytes. Key, round keys and copies of blocks are wiped before a
// call returns; data and passphrase are the caller's to wipe. Nothing is thrown but std::bad_alloc. Any
// thread.
class VTEncryption {
public:
    VTEncryption() = delete;

    // The ciphertext: as long as `data`, rounded up to a multiple of 16, the last block filled up with
    // spaces. The length of `data` is not recorded.
    static std::string AESEncryptData(std::string_view data, std::optional<std::string_view> passphrase);

    // The plaintext with the spaces that encryption added. Of ciphertext that is no multiple of 16 long, and
    // so is damaged, the last block is filled up with the bytes in the same places of the block before, or
    // zeros when it is the only one; it gives 16 bytes like any other.
    static std::string AESDecryptData(std::string_view data, std::optional<std::string_view> passphrase);
};
