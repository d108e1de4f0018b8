// What a number in a sheet is by its format: a plain one, a percentage, a date or a time.

import { allDigits, general, roundedTo } from "./text_rules";

/** The formats that every workbook knows by number and that are no plain numbers. */
const KNOWN_FORMATS = new Map<number, string>([
  [9, "0%"], [10, "0.00%"],
  [14, "mm-dd-yy"], [15, "d-mmm-yy"], [16, "d-mmm"], [17, "mmm-yy"],
  [18, "h:mm AM/PM"], [19, "h:mm:ss AM/PM"], [20, "h:mm"], [21, "h:mm:ss"], [22, "m/d/yy h:mm"],
  [45, "mm:ss"], [46, "[h]:mm:ss"], [47, "mmss.0"],
]);
const FIRST_OWN_FORMAT = 164;
const QUOTED_OR_LOCALE = /".*?"|\[(?!hh?\]|mm?\]|ss?\])[^\]]*\]/g;
const PART_OF_DATE = /[^\\][dmhys]/i;
const DURATION = /\[hh?\](?::mm(?::ss(?:\.0*)?)?)?|\[mm?\](?::ss(?:\.0*)?)?|\[ss?\](?:\.0*)?/i;
const DAY = 86_400_000; // ms
const FIRST_DAY = { 1900: Date.UTC(1899, 11, 30), 1904: Date.UTC(1904, 0, 1) };
const LAST_DAY = Date.UTC(9999, 11, 31);

export type Epoch = keyof typeof FIRST_DAY;
export type NumberKind = "plain" | "percentage" | "date" | "duration";

/** The kind of the numbers of a format, by its number and the workbook's own formats. */
export function kindOfFormat(number: number, own: Map<number, string>): NumberKind {
  const format = (number >= FIRST_OWN_FORMAT ? own.get(number) : undefined) ?? KNOWN_FORMATS.get(number) ?? "";
  const [first] = format.split(";"); // of positive numbers
  if (PART_OF_DATE.test(first.replace(QUOTED_OR_LOCALE, ""))) return DURATION.test(first) ? "duration" : "date";
  return format.includes("%") ? "percentage" : "plain";
}

/** The text of a number as a person sees it, with all digits. */
export function textOfNumber(value: number, kind: NumberKind, epoch: Epoch): string {
  if (kind === "date") return dateText(value, epoch);
  if (kind === "duration") return durationText(value);
  if (kind === "percentage") return `${general(roundedTo(value * 100.0, 12), 15)} %`;
  return Number.isInteger(value) && Math.abs(value) < 1e15 ? String(value || 0) : allDigits(value);
}

const two = (number: number) => String(number).padStart(2, "0");

function timeText(milliseconds: number): string {
  const seconds = Math.floor(milliseconds / 1000);
  const rest = milliseconds % 1000;
  const clock = [Math.floor(seconds / 3600), Math.floor(seconds / 60) % 60, seconds % 60].map(two).join(":");
  return rest ? `${clock}.${String(rest).padStart(3, "0")}000` : clock;
}

/** A count of days as date and time; that of 1900 counts a day that was not, February 29th. */
function dateText(value: number, epoch: Epoch): string {
  let day = Math.floor(value);
  const milliseconds = Math.round((value - day) * DAY);
  if (day === 0 && milliseconds < DAY) return timeText(milliseconds);
  if (value > 0 && value < 60 && epoch === 1900) day++;
  const moment = FIRST_DAY[epoch] + day * DAY + milliseconds;
  const date = new Date(moment);
  if (!(moment >= Date.UTC(1, 0, 1) - 2e15 && moment < LAST_DAY + DAY) || date.getUTCFullYear() < 1) return "#VALUE!";
  const year = String(date.getUTCFullYear()).padStart(4, "0");
  const time = timeText(((moment % DAY) + DAY) % DAY);
  return `${year}-${two(date.getUTCMonth() + 1)}-${two(date.getUTCDate())}T${time}`;
}

/** A span of time such as '1 day, 2:30:00'. */
function durationText(value: number): string {
  const total = Math.round(value * DAY);
  const days = Math.floor(total / DAY);
  const clock = timeText(total - days * DAY).replace(/^0/, "");
  return days ? `${days} day${Math.abs(days) === 1 ? "" : "s"}, ${clock}` : clock;
}
