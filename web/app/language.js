/** The page's texts in the browser's language. */

import english from './languages/en.js';

/** @typedef {typeof english} Texts */
/** @typedef {keyof Texts} Key */

/** @type {Record<string, () => Promise<{ default: Texts }>>} */
const others = { de: () => import('./languages/de.js') };

/** @type {Texts} */
let texts = english;
let language = 'en';
let plurals = new Intl.PluralRules(language);
let numbers = new Intl.NumberFormat(language);

/**
 * Loads the first of the languages that the page has. Without one it stays English.
 * @param {readonly string[]} wanted in the order of preference, for example `navigator.languages`
 */
export async function useLanguage(wanted) {
    const bare = wanted.map((tag) => tag.toLowerCase().split('-')[0]);
    language = bare.find((tag) => tag === 'en' || tag in others) ?? 'en';
    texts = language === 'en' ? english : (await others[language]()).default;
    plurals = new Intl.PluralRules(language);
    numbers = new Intl.NumberFormat(language);
}

/** The language in use, as a tag for `lang`. */
export function currentLanguage() {
    return language;
}

/**
 * The text of a key, with `{name}` replaced by the value of that name. Numbers are written in the language's way. A text
 * with the forms `one` and `other` takes the one that the value `count` asks for.
 * @param {Key} key
 * @param {Record<string, string | number>} [values]
 * @returns {string}
 */
export function text(key, values = {}) {
    const entry = texts[key];
    const form = typeof entry === 'string' ? entry : plurals.select(Number(values.count)) === 'one' ? entry.one : entry.other;
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
