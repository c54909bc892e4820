/** Sounds and pictures for tests, made from numbers. */

import { deflateSync } from 'node:zlib';

const rate = 48000;

/**
 * A WAV file with a sine of constant loudness.
 * @param {number} frequency in Hz
 * @param {number} milliseconds
 */
export function tone(frequency, milliseconds) {
    const frames = Math.round((rate * milliseconds) / 1000);
    const file = Buffer.alloc(44 + frames * 2);
    file.write('RIFF', 0);
    file.writeUInt32LE(36 + frames * 2, 4);
    file.write('WAVEfmt ', 8);
    [16, 1 | (1 << 16), rate, rate * 2, 2 | (16 << 16)].forEach((word, index) => file.writeUInt32LE(word, 16 + index * 4));
    file.write('data', 36);
    file.writeUInt32LE(frames * 2, 40);
    for (let frame = 0; frame < frames; ++frame) {
        file.writeInt16LE(Math.round(8000 * Math.sin((2 * Math.PI * frequency * frame) / rate)), 44 + frame * 2);
    }
    return file;
}

/**
 * A PNG of two colours that run into each other, chosen by the seed.
 * @param {number} seed
 * @param {number} width
 */
export function picture(seed, width) {
    const line = 1 + width * 3;
    const pixels = Buffer.alloc(line * width);
    for (let y = 0; y < width; ++y) {
        for (let x = 0; x < width; ++x) {
            const mix = (x + y) / (2 * width);
            [seed * 53, seed * 97 + 80, seed * 31 + 120].forEach((value, channel) => {
                pixels[y * line + 1 + x * 3 + channel] = 60 + ((value % 130) * (1 - mix) + ((value * 3) % 140) * mix);
            });
        }
    }
    const header = Buffer.alloc(13);
    header.writeUInt32BE(width, 0);
    header.writeUInt32BE(width, 4);
    header.set([8, 2], 8);
    const signature = Buffer.from([0x89, 0x50, 0x4e, 0x47, 0x0d, 0x0a, 0x1a, 0x0a]);
    return Buffer.concat([signature, chunk('IHDR', header), chunk('IDAT', deflateSync(pixels)), chunk('IEND', Buffer.alloc(0))]);
}

/** @param {string} type @param {Buffer} data */
function chunk(type, data) {
    const made = Buffer.alloc(12 + data.length);
    made.writeUInt32BE(data.length, 0);
    made.write(type, 4);
    data.copy(made, 8);
    made.writeUInt32BE(crc32(made.subarray(4, 8 + data.length)), 8 + data.length);
    return made;
}

/** @param {Buffer} data */
function crc32(data) {
    let crc = ~0;
    for (const byte of data) {
        crc ^= byte;
        for (let bit = 0; bit < 8; ++bit) crc = (crc >>> 1) ^ (crc & 1 ? 0xedb88320 : 0);
    }
    return ~crc >>> 0;
}
