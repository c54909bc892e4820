const letters = '0123456789abcdefghijkmnpqrstuvwxyz';

/**
 * A text that no other page makes. `randomUUID` would need https.
 * @param {number} length in letters and digits
 */
export function uniqueText(length) {
    return [...crypto.getRandomValues(new Uint8Array(length))].map((byte) => letters[byte % letters.length]).join('');
}
