// Draws outlines and points of faces over pictures; in the view and in downloads.

/** `unit` is the length of a pixel on the screen in the context's coordinates. */
export function drawShapes(context, { outlines, landmarks, forehead, color = "#ffffff" }, unit) {
  if (outlines) drawOutlines(context, outlines, color, unit);
  if (landmarks) drawPoints(context, landmarks, 1.5 * unit, "#22d3ee");
  if (forehead) drawPoints(context, forehead, 3 * unit, "#fb3d63");
}

function drawOutlines(context, outlines, color, unit) {
  const path = new Path2D();
  for (const points of outlines) {
    path.moveTo(points[0] + 0.5, points[1] + 0.5);
    for (let i = 2; i < points.length; i += 2) path.lineTo(points[i] + 0.5, points[i + 1] + 0.5);
    path.closePath();
  }
  context.lineJoin = "round";
  // Two strokes, so that the line is seen on every ground.
  for (const [width, style] of [[5, "rgb(0 0 0 / 45%)"], [2.5, color]]) {
    context.lineWidth = width * unit;
    context.strokeStyle = style;
    context.stroke(path);
  }
}

function drawPoints(context, points, radius, style) {
  context.fillStyle = style;
  for (let i = 0; i < points.length; i += 2) {
    context.beginPath();
    context.arc(points[i] + 0.5, points[i + 1] + 0.5, radius, 0, 2 * Math.PI);
    context.fill();
  }
}
