// A picture as PNG, drawn by the browser from its own SVG.
import { Markup, toText } from "./markup";

export async function toPng(picture: Markup, scale = 3): Promise<Blob> {
  const url = URL.createObjectURL(new Blob([toText(picture)], { type: "image/svg+xml" }));
  try {
    const image = new Image();
    image.src = url;
    await image.decode();
    const canvas = document.createElement("canvas");
    canvas.width = Number(picture.attributes.width) * scale;
    canvas.height = Number(picture.attributes.height) * scale;
    const context = canvas.getContext("2d");
    if (!context) throw new Error("The browser draws no pictures.");
    context.drawImage(image, 0, 0, canvas.width, canvas.height);
    return await new Promise((resolve, reject) =>
      canvas.toBlob((blob) => (blob ? resolve(blob) : reject(new Error("The browser made no PNG."))), "image/png"));
  } finally {
    URL.revokeObjectURL(url);
  }
}
