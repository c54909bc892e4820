/** The page's texts in the browser's language. */

import english from './languages/en.js';

/** @typedef {keyof typeof english} Key */

/**
 * A text that depends on the number `count`, in the forms that its language has.
 * @typedef {Partial<Record<Intl.LDMLPluralRule, string>> & { other: string }} Forms
 */

/**
 * All texts in one language.
 * @typedef {{ [Each in Key]: (typeof english)[Each] extends string ? string : Forms }} Texts
 */

/** @type {Texts} */
let texts = english;
let language = 'en';
let plurals = new Intl.PluralRules(language);
let numbers = new Intl.NumberFormat(language);

/**
 * Gives the texts that are made from now on in another language. Until then they are English.
 * @param {string} tag of the language, for example `de`
 * @param {Texts} translated
 */
export function useLanguage(tag, translated) {
    language = tag;
    texts = translated;
    plurals = new Intl.PluralRules(language);
    numbers = new Intl.NumberFormat(language);
}

/** The language in use, as a tag for `lang`. */
export function currentLanguage() {
    return language;
}

/**
 * The text of a key, with `{name}` replaced by the value of that name. Numbers are written in the language's way. A text
 * with several forms takes the one that the value `count` asks for. Names of files and devices come `isolated`.
 * @param {Key} key
 * @param {Record<string, string | number>} [values]
 * @returns {string}
 */
export function text(key, values = {}) {
    const entry = texts[key];
    const form = typeof entry === 'string' ? entry : (entry[plurals.select(Number(values.count))] ?? entry.other);
    return form.replace(/\{(\w+)\}/g, (_, name) => written(values[name]));
}

/** @param {string | number | undefined} value */
function written(value) {
    return typeof value === 'number' ? numbers.format(value) : (value ?? '');
}

/**
 * A duration as on a clock: `4:05`, `1:02:03`.
 * @param {number} milliseconds
 * @returns {string}
 */
export function clock(milliseconds) {
    const seconds = Math.max(0, Math.round(milliseconds / 1000));
    const parts = [Math.floor(seconds / 60) % 60, seconds % 60].map((part) => String(part).padStart(2, '0'));
    const hours = Math.floor(seconds / 3600);
    return hours > 0 ? `${hours}:${parts.join(':')}` : parts.join(':').replace(/^0/, '');
}

/**
 * A duration in words: `48 min`, `3 h 5 min`.
 * @param {number} milliseconds
 * @returns {string}
 */
export function spokenDuration(milliseconds) {
    const minutes = Math.max(1, Math.round(milliseconds / 60000));
    const values = { hours: Math.floor(minutes / 60), minutes: minutes % 60 };
    return text(values.hours > 0 ? 'hoursMinutes' : 'minutes', values);
}

/**
 * Keeps the direction of a name from reaching the text around it.
 * @param {string} name
 * @returns {string}
 */
export function isolated(name) {
    return `\u2068${name}\u2069`;
}
