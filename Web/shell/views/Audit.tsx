export default function Audit() {
  return null;
}
